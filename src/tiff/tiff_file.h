// Single-strip, little-endian TIFF files.
#pragma once

#include <stdint.h>

#include "base/frame.h"
#include "tiff/byte_buffer.h"
#include "tiff/encode_g4.h"

namespace cam::tiff {

// The strip of a bilevel Group 4 file. `picture`: rows of 16-bit words; a word of 0 is black, any other
// white. Its stride is a multiple of 2. False when memory runs out, the picture is wider than the encoder's
// range or the output refuses. Takes memory for a few rows.
bool EncodeBilevelStrip(const ConstFrame& picture, G4Output& output);

// The width that the file states: columns up to a whole byte are added on the right, white.
constexpr uint32_t BilevelWidth(uint32_t pixels) {
    return (pixels + 7) / 8 * 8;
}

// Assembles a file with such a strip in `out` (emptied first). `description`: stored with its terminating
// zero, or null for none. `trailer`: adds the private tag with the offset past the strip. False as above.
bool EncodeBilevelTiff(ByteBuffer& out, const ConstFrame& picture, const char* description, bool trailer);

// Appends everything that stands before the strip: signature, directory, resolutions, description. `out` must
// be empty. Always true. `grey8`: 8-bit grey, else bilevel; `group4`: the strip is Group 4 data, else
// uncompressed.
bool WriteTiffHeader(uint32_t width, uint32_t rows, uint32_t stripBytes, bool grey8, bool group4,
                     const char* description, ByteBuffer& out, bool trailer);

// Where a header without description says how many bytes the strip has.
constexpr uint32_t kStripBytesOffset = 114;

// Appends the first eight bytes.
void WriteTiffSignature(ByteBuffer& out);

}  // namespace cam::tiff
