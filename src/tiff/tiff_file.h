// Single-strip, little-endian TIFF files, put together in memory.
#pragma once

#include <stdint.h>

#include "base/frame.h"
#include "tiff/byte_buffer.h"

namespace cam::tiff {

// Assembles a bilevel Group 4 file in `out` (emptied first).
//
// `picture`: rows of 16-bit words; a word of 0 is black, any other white. Its stride is a multiple of 2.
// `description`: stored with its terminating zero, or null for none. `trailer`: adds the private tag with the
// offset past the strip. False when memory runs out or the picture is wider than the encoder's range.
bool EncodeBilevelTiff(ByteBuffer& out, const ConstFrame& picture, const char* description, bool trailer);

// Appends everything that stands before the strip: signature, directory, resolutions, description. `out` must
// be empty. Always true. `grey8`: 8-bit grey, else bilevel; `group4`: the strip is Group 4 data, else
// uncompressed.
bool WriteTiffHeader(uint32_t width, uint32_t rows, uint32_t stripBytes, bool grey8, bool group4,
                     const char* description, ByteBuffer& out, bool trailer);

// Appends the first eight bytes.
void WriteTiffSignature(ByteBuffer& out);

}  // namespace cam::tiff
