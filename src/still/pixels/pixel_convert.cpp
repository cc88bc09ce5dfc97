#include "still/pixels/pixel_convert.h"

namespace cam::still {
namespace {

using GreyKernel = void (*)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);

// Forwards: the grey bytes never overtake the 16-bit pixels that are still to be read.
void PackGrey(std::uint8_t* frame, const FrameShape& shape, GreyKernel kernel) {
    std::uint8_t* grey = frame;
    const std::uint8_t* row = frame;
    for (std::uint32_t y = 0; y < shape.rows; ++y, grey += shape.width, row += shape.stride) {
        kernel(grey, row, shape.width);
    }
}

}  // namespace

void Yuy2ToRgb565(std::uint8_t* frame, const FrameShape& shape, const PixelKernels& kernels) {
    for (std::uint32_t y = 0; y < shape.rows; ++y, frame += shape.stride)
        kernels.yuy2RowToRgb565(frame, shape.width);
}

void Yuy2ToGrey(std::uint8_t* frame, const FrameShape& shape, const PixelKernels& kernels) {
    PackGrey(frame, shape, kernels.gatherLumaRow);
}

void Rgb565ToGrey(std::uint8_t* frame, const FrameShape& shape, const PixelKernels& kernels) {
    PackGrey(frame, shape, kernels.rgb565RowToGrey);
}

// From the last row backwards, so that the words never overwrite grey bytes that are still to be read.
void ExpandGrey(std::uint8_t* frame, const FrameShape& shape, const PixelKernels& kernels) {
    for (std::size_t y = shape.rows; y-- > 0;) {
        kernels.expandGreyRow(frame + y * shape.stride, frame + y * shape.width, shape.width);
    }
}

}  // namespace cam::still
