// A webcam's JPEG frame, of whatever size it says itself: decoded or passed over, and every row that it gives
// can be read.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "platform/desktop/camera_driver/jpeg_frame.h"

using namespace cam::driver;

namespace {

constexpr std::uint32_t kMaxSide = 256;  // for more pictures a second

struct Side {
    std::uint32_t width = 0, height = 0;
};

// What the first frame header says; the marker, two bytes of length, one of precision, height and width.
Side FindSize(const uint8_t* data, size_t size) {
    for (size_t at = 2; at + 9 <= size; ++at) {
        if (data[at] != 0xFF || data[at + 1] < 0xC0 || data[at + 1] > 0xC2) continue;
        return {data[at + 7] * 256u + data[at + 8], data[at + 5] * 256u + data[at + 6]};
    }
    return {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Side side = FindSize(data, size);
    if (side.width == 0 || side.height == 0 || std::max(side.width, side.height) > kMaxSide) return 0;
    static JpegFrame decoder;  // its buffers are used again, as in a stream
    const auto picture = decoder.Decode({data, size}, side.width, side.height);
    if (!picture) return 0;
    std::vector<uint8_t> still(size_t{(side.width + 1) / 2 * 4} * side.height);
    MakeStill(*picture, still.data());
    std::vector<uint8_t> row(size_t{side.width} * 2), scratch(size_t{(side.width + 1) / 2 * 4});
    for (std::uint32_t y = 0; y < side.height; ++y) picture->ReadRgb555Row(y, row.data(), scratch.data(), 0);
    return 0;
}
