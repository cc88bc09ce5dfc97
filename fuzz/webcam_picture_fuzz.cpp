// Webcams' frames of every encoding that is not coded, of any size, one after the other in a preview of any
// size: every byte of frame, preview and still belongs to them, and a preview of the frame's size shows it
// row by row.
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/frame.h"
#include "platform/desktop/camera_driver/source_picture.h"

using namespace cam;
using namespace cam::driver;

namespace {

constexpr Encoding kEncodings[] = {Encoding::Yuy2, Encoding::Nv12, Encoding::I420, Encoding::Rgb32,
                                   Encoding::Rgb24};
constexpr size_t kHead = 5;  // two sizes, and what the first frame is

struct Frame {
    SourceShape shape;
    std::vector<uint8_t> sample;  // with its exact length

    Frame(unsigned kind, uint32_t width, uint32_t height, const uint8_t* data, size_t size) {
        const bool isBottomUp = kind & 0x80;
        shape = {kEncodings[kind % std::size(kEncodings)], width, height, false};
        shape.bottomUp = isBottomUp && shape.encoding >= Encoding::Rgb32;
        sample.resize(shape.FrameBytes());
        for (size_t i = 0; i < sample.size(); ++i) sample[i] = data[i % size];
    }
};

void Show(PreviewScaler& scaler, const Frame& frame, uint32_t width, uint32_t height) {
    const SourcePicture picture(frame.shape, frame.sample);
    std::vector<uint8_t> preview(RowStride(width) * height),
        still(RowStride(frame.shape.width) * frame.shape.height);
    scaler.Draw(picture, preview.data());
    MakeStill(picture, still.data());
    if (frame.shape.width != width || frame.shape.height != height) return;
    const size_t shown = size_t{width} * 2;
    std::vector<uint8_t> row(shown), scratch(RowStride(width));
    for (uint32_t y = 0; y < height; ++y) {
        picture.ReadRgb555Row(y, row.data(), scratch.data(), 0);
        const uint8_t* const line = preview.data() + (height - 1 - y) * RowStride(width);
        if (!std::equal(row.begin(), row.end(), line)) abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size <= kHead) return 0;
    const uint32_t width = data[0] + 1u, height = data[1] + 1u, shownWidth = data[2] + 1u,
                   shownHeight = data[3] + 1u;
    PreviewScaler scaler(shownWidth, shownHeight);
    const uint8_t* const pixels = data + kHead;
    Show(scaler, {data[4], width, height, pixels, size - kHead}, shownWidth, shownHeight);
    // The stream goes on in another size, that of the preview.
    Show(scaler, {data[4] / 5u, shownWidth, shownHeight, pixels, size - kHead}, shownWidth, shownHeight);
    return 0;
}
