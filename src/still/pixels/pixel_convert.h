// Conversions of a whole frame inside its own buffer.
#pragma once

#include "base/frame.h"
#include "still/pixels/pixel_kernels.h"

namespace cam::still {

// Rows go in memory order, whichever way up the picture stands. Each takes whole pairs of 16-bit pixels; with
// a shorter stride the frame's bytes hold as much past the last one. The width is not negative.

// YUY2 becomes RGB565; the stride stays.
void Yuy2ToRgb565(const Frame& frame, const PixelKernels& kernels = kPixelKernels.Fastest());

// The luma of a YUY2 frame, or the grey of an RGB565 frame, as bytes at the start of the buffer: rows of
// `width` bytes without padding. What lies past them is left over.
void Yuy2ToGrey(const Frame& frame, const PixelKernels& kernels = kPixelKernels.Fastest());
void Rgb565ToGrey(const Frame& frame, const PixelKernels& kernels = kPixelKernels.Fastest());

// The way back: grey bytes at the start of the buffer become words, 0x0000 for 0 and 0xFFFF for anything
// else, rows `stride` bytes apart.
void ExpandGrey(const Frame& frame, const PixelKernels& kernels = kPixelKernels.Fastest());

}  // namespace cam::still
