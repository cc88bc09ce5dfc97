#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

using AliasedWord __attribute__((may_alias)) = uint32_t;

// Two pixels, the first in the lower half: 2 for the first one black, 1 for the second.
uint32_t PackPair(AliasedWord pair) {
    if (pair == 0) return 3;
    if (pair == 0xFFFFFFFFu) return 0;
    return (pair & 0xFFFFu ? 0u : 2u) | (pair >> 16 ? 0u : 1u);
}

}  // namespace

// Rows of a frame begin at multiples of 4 bytes, where whole words can be read.
void PackPixelsWord(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    if (reinterpret_cast<uintptr_t>(pixels) % sizeof(AliasedWord) != 0)
        return PackPixelsPlain(pixels, count, bits);
    const auto* words = reinterpret_cast<const AliasedWord*>(pixels);
    for (; count >= 8; count -= 8, words += 4) {
        const uint32_t byte =
            PackPair(words[0]) << 6 | PackPair(words[1]) << 4 | PackPair(words[2]) << 2 | PackPair(words[3]);
        *bits++ = static_cast<uint8_t>(byte);
    }
    PackPixelsPlain(reinterpret_cast<const uint8_t*>(words), count, bits);
}

}  // namespace cam::tiff
