#include "tiff/pack_pixels.h"

#include <stddef.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace cam::tiff {
namespace {

constexpr uint32_t kByteBits = 8;

uint8_t PackByte(const uint8_t* pixels, uint32_t count) {
    uint32_t byte = 0;
    for (uint32_t x = 0; x < count; ++x, pixels += 2) {
        const bool black = (pixels[0] | pixels[1]) == 0;
        byte |= static_cast<uint32_t>(black) << (kByteBits - 1 - x);
    }
    return static_cast<uint8_t>(byte);
}

#ifdef __SSE2__
constexpr uint32_t kVectorPixels = 64;

// 16 pixels: the sums of the black ones' bit values, one for each half of the vector.
__m128i PackHalves(const uint8_t* pixels) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bitValues = _mm_set1_epi64x(0x0102040810204080);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 16));
    const __m128i black = _mm_packs_epi16(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(high, zero));
    return _mm_sad_epu8(_mm_and_si128(black, bitValues), zero);
}

uint32_t PackWhole(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    uint32_t done = 0;
    for (; count - done >= kVectorPixels; done += kVectorPixels) {
        const uint8_t* at = pixels + size_t{done} * 2;
        const __m128i first = _mm_packs_epi32(PackHalves(at), PackHalves(at + 32));
        const __m128i second = _mm_packs_epi32(PackHalves(at + 64), PackHalves(at + 96));
        const __m128i words = _mm_packs_epi32(first, second);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(bits + done / kByteBits), _mm_packus_epi16(words, words));
    }
    return done;
}
#else
using AliasedWord __attribute__((may_alias)) = uint32_t;

// Two pixels, the first in the lower half: 2 for the first one black, 1 for the second.
uint32_t PackPair(AliasedWord pair) {
    if (pair == 0) return 3;
    if (pair == 0xFFFFFFFFu) return 0;
    return (pair & 0xFFFFu ? 0u : 2u) | (pair >> 16 ? 0u : 1u);
}

// Rows of a frame begin at multiples of 4 bytes, where whole words can be read.
uint32_t PackWhole(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    if (reinterpret_cast<uintptr_t>(pixels) % sizeof(AliasedWord) != 0) return 0;
    const auto* words = reinterpret_cast<const AliasedWord*>(pixels);
    uint32_t done = 0;
    for (; count - done >= kByteBits; done += kByteBits, words += 4) {
        const uint32_t byte =
            PackPair(words[0]) << 6 | PackPair(words[1]) << 4 | PackPair(words[2]) << 2 | PackPair(words[3]);
        bits[done / kByteBits] = static_cast<uint8_t>(byte);
    }
    return done;
}
#endif

}  // namespace

void PackBlackPixels(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    for (uint32_t x = PackWhole(pixels, count, bits); x < count; x += kByteBits) {
        const uint32_t left = count - x;
        bits[x / kByteBits] = PackByte(pixels + size_t{x} * 2, left < kByteBits ? left : kByteBits);
    }
}

}  // namespace cam::tiff
