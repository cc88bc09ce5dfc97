// Single-strip, little-endian TIFF files, put together in memory.
#pragma once

#include <stdint.h>

#include "tiff/byte_buffer.h"

namespace cam::tiff {

// Assembles a bilevel Group 4 file in `out` (emptied first).
//
// `pixels`: |height| rows of `width` 16-bit words, rows (width * 2 + 3) / 4 * 4 bytes apart; a word of 0 is black, any other
// white. Height above 0: the last row in memory is the picture's top; below 0: the first one.
// `description`: stored with its terminating zero, or null for none. `trailer`: adds the private tag with the offset behind the strip.
// False when memory runs out or the picture is wider than the encoder's range.
bool EncodeBilevelTiff(ByteBuffer& out, const uint8_t* pixels, int32_t width, int32_t height,
                       const char* description, bool trailer);

// Appends everything that stands before the strip: signature, directory, resolutions, description. `out` must be empty.
// Always true. `grey8`: 8-bit grey, else bilevel; `group4`: the strip is Group 4 data, else uncompressed.
bool WriteTiffHeader(uint32_t width, uint32_t rows, uint32_t stripBytes, bool grey8, bool group4,
                     const char* description, ByteBuffer& out, bool trailer);

// Appends the first eight bytes.
void WriteTiffSignature(ByteBuffer& out);

}  // namespace cam::tiff
