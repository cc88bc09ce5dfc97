// Two-dimensional coding of a bilevel raster after ITU-T T.6 (Group 4).
#pragma once

#include <stdint.h>

#include <span>

#include "tiff/byte_buffer.h"

namespace cam::tiff {

// Widest line that can be coded: positions are signed 16-bit numbers and lines are whole bytes.
constexpr uint32_t kG4MaxWidth = 32760;

// Codes `rows` lines of `width` pixels (a multiple of 8, at most kG4MaxWidth) into the buffer's data area
// from its first byte on; the buffer's length is then what was written. Each line is width / 8 bytes, the
// most significant bit is the leftmost pixel, 1 is black. No line ends, no alignment between lines; the
// end-of-block code and zero bits up to a whole byte close the data.
//
// A growable `output` grows as the picture needs. False when the width is out of range, memory runs out or
// the raster is shorter than `rows` lines; the buffer's contents are then worthless. Any thread.
bool EncodeG4(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output);

}  // namespace cam::tiff
