// The ways to code Group 4 data. All give the same bytes; arguments and results are those of EncodeG4.
#pragma once

#include <stdint.h>

#include "tiff/byte_buffer.h"

namespace cam::tiff {

using EncodeG4Way = bool(const uint8_t* raster, uint32_t rasterLength, uint32_t width, uint32_t rows,
                         ByteBuffer& output, uint32_t* outLength);

// Step by step after T.6, a byte of the raster and a bit of the output at a time: what the others are compared with.
EncodeG4Way EncodeG4Plain;

// 32-bit words and tables: for processors with little more.
EncodeG4Way EncodeG4Word;

#ifdef __x86_64__
// 64-bit words, the vectors that every such processor has, and next to no branches. Wider vectors or newer instructions do not make it faster.
EncodeG4Way EncodeG4Sse2;
#endif

}  // namespace cam::tiff
