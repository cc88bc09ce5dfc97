// Black-and-white 16-bit pixels into bits.
#pragma once

#include <stdint.h>

namespace cam::tiff {

// Stores one bit for each of `count` 16-bit words, the most significant bit first: 1 for a word of 0, else 0. The last byte is filled up
// with 0. `pixels` is aligned to 2 bytes; `bits` takes (count + 7) / 8 bytes. The two must not overlap.
void PackBlackPixels(const uint8_t* pixels, uint32_t count, uint8_t* bits);

}  // namespace cam::tiff
