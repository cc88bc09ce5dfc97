// Conversions of a whole frame inside its own buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "still/pixels/pixel_kernels.h"

namespace cam::still {

// What lies in a frame buffer of rows * stride bytes. Each row takes whole pairs of 16-bit pixels; with a shorter
// stride the buffer holds as much past the last one.
struct FrameShape {
    std::uint32_t width = 0;   // pixels
    std::uint32_t rows = 0;    // in memory order, whichever way up the picture stands
    std::uint32_t stride = 0;  // bytes from row to row

    std::size_t size() const { return std::size_t{rows} * stride; }
};

// YUY2 becomes RGB565; the stride stays.
void Yuy2ToRgb565(std::uint8_t* frame, const FrameShape& shape,
                  const PixelKernels& kernels = kPixelKernels.Fastest());

// The luma of a YUY2 frame, or the grey of an RGB565 frame, as bytes at the start of the buffer: rows of
// `width` bytes without padding, in memory order. What lies past them is left over.
void Yuy2ToGrey(std::uint8_t* frame, const FrameShape& shape,
                const PixelKernels& kernels = kPixelKernels.Fastest());
void Rgb565ToGrey(std::uint8_t* frame, const FrameShape& shape,
                  const PixelKernels& kernels = kPixelKernels.Fastest());

// The way back: grey bytes at the start of the buffer become words, 0x0000 for 0 and 0xFFFF for anything
// else, rows `stride` bytes apart.
void ExpandGrey(std::uint8_t* frame, const FrameShape& shape,
                const PixelKernels& kernels = kPixelKernels.Fastest());

}  // namespace cam::still
