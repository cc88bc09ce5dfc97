#include <emmintrin.h>

#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

constexpr uint32_t kStepPixels = 64;

// 16 pixels: the sums of the black ones' bit values, one for each half of the vector.
__m128i PackHalves(const uint8_t* pixels) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bitValues = _mm_set1_epi64x(0x0102040810204080);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 16));
    const __m128i black = _mm_packs_epi16(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(high, zero));
    return _mm_sad_epu8(_mm_and_si128(black, bitValues), zero);
}

}  // namespace

void PackPixelsSse2(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    for (; count >= kStepPixels; count -= kStepPixels, pixels += 2 * kStepPixels, bits += kStepPixels / 8) {
        const __m128i first = _mm_packs_epi32(PackHalves(pixels), PackHalves(pixels + 32));
        const __m128i second = _mm_packs_epi32(PackHalves(pixels + 64), PackHalves(pixels + 96));
        const __m128i words = _mm_packs_epi32(first, second);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(bits), _mm_packus_epi16(words, words));
    }
    PackPixelsPlain(pixels, count, bits);
}

}  // namespace cam::tiff
