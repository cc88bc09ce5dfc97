#include "still/pixels/pixel_convert.h"

namespace cam::still {
namespace {

using GreyKernel = void (*)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);

std::size_t WidthOf(const Frame& frame) {
    return static_cast<std::size_t>(frame.width);
}

// Forwards: the grey bytes never overtake the 16-bit pixels that are still to be read.
void PackGrey(const Frame& frame, GreyKernel kernel) {
    std::uint8_t* grey = frame.bytes.data();
    for (std::uint32_t y = 0; y < frame.rows(); ++y, grey += frame.width)
        kernel(grey, frame.MemoryRow(y).data(), WidthOf(frame));
}

}  // namespace

void Yuy2ToRgb565(const Frame& frame, const PixelKernels& kernels) {
    for (std::uint32_t y = 0; y < frame.rows(); ++y)
        kernels.yuy2RowToRgb565(frame.MemoryRow(y).data(), WidthOf(frame));
}

void Yuy2ToGrey(const Frame& frame, const PixelKernels& kernels) {
    PackGrey(frame, kernels.gatherLumaRow);
}

void Rgb565ToGrey(const Frame& frame, const PixelKernels& kernels) {
    PackGrey(frame, kernels.rgb565RowToGrey);
}

// From the last row backwards, so that the words never overwrite grey bytes that are still to be read.
void ExpandGrey(const Frame& frame, const PixelKernels& kernels) {
    for (std::uint32_t y = frame.rows(); y-- > 0;) {
        const std::uint8_t* const grey = frame.bytes.data() + std::size_t{y} * WidthOf(frame);
        kernels.expandGreyRow(frame.MemoryRow(y).data(), grey, WidthOf(frame));
    }
}

}  // namespace cam::still
