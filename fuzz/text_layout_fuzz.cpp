// Any text's place in any frame: lines are handed out whole, and copying what lies under a line's box to its
// surface and back touches nothing but the frame, and changes nothing in it.
#include <stdlib.h>
#include <string.h>

#include <cstdint>
#include <string>
#include <vector>

#include "still/text/text_layout.h"

using namespace cam;
using namespace cam::still;

namespace {

constexpr std::uint64_t kMaxSurface = 1 << 20;  // bytes, for more rounds a second

class Input {
  public:
    Input(const uint8_t* from, size_t count) : data(from), left(count) {}
    template <typename T>
    T Take() {
        T value{};
        const size_t count = left < sizeof value ? left : sizeof value;
        memcpy(&value, data, count);
        data += count;
        left -= count;
        return value;
    }
    std::wstring Rest() const { return {data, data + left}; }

  private:
    const uint8_t* data;
    size_t left;
};

void Require(bool condition) {
    if (!condition) abort();
}

void Copy(const Frame& frame, const TextBox& box) {
    if (box.width <= 0 || box.height <= 0) return;
    const std::uint64_t stride = RowStride(static_cast<std::uint32_t>(box.width));
    if (stride * static_cast<std::uint64_t>(box.height) > kMaxSurface) return;
    std::vector<std::uint8_t> bits(stride * static_cast<std::uint64_t>(box.height));
    const Frame surface = {bits, box.width, box.height, static_cast<std::uint32_t>(stride)};
    const std::vector<std::uint8_t> before(frame.bytes.begin(), frame.bytes.end());
    CopyToSurface(frame, box, surface);
    CopyFromSurface(frame, box, surface);
    Require(std::equal(before.begin(), before.end(), frame.bytes.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const auto width = input.Take<std::uint8_t>(), rows = input.Take<std::uint8_t>(),
               flags = input.Take<std::uint8_t>();
    const auto position = input.Take<std::uint8_t>();
    const auto colorWord = input.Take<std::uint32_t>();
    // Of a font as people have them, or of anything.
    const bool isSane = flags & 2;
    TextExtent extent = {input.Take<std::int32_t>(), input.Take<std::int32_t>()};
    if (isSane) extent = {extent.width & 0x1FF, extent.height & 0x3F};
    std::wstring text = input.Rest();

    std::vector<std::uint8_t> bytes(RowStride(width) * rows);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
    const Frame frame = {bytes, width, flags & 1 ? rows : -std::int32_t{rows},
                         static_cast<std::uint32_t>(RowStride(width))};
    const StampColors colors = TakeApart(colorWord);
    ColorOfCode(colors.outline, colors.text);
    ColorOfCode(colors.background, colors.text);

    const std::uint32_t lineCount = CountTextLines(text.c_str());
    const size_t length = wcslen(text.c_str());
    size_t handedOut = 0;
    TextLines lines(text.data());
    for (std::uint32_t index = 0; const auto line = lines.Next(); ++index) {
        Require(index < lineCount && !line->empty());
        Require(DrawnPart(*line).size() + 1 >= line->size());
        handedOut += line->size();
        if (const auto box = PlaceLine(frame, position, index, lineCount, extent)) {
            if (box->isVisible(frame)) Copy(frame, *box);
        }
    }
    Require(handedOut <= length);
    return 0;
}
