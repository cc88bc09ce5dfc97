// RGB565 to what JPEG takes, with vectors; goes on from pixel_simd.inl.

#include "still/pixels/pixel_simd.inl"

namespace cam::still {
namespace {

// Luma and colour differences of a vector of pixels, as words.
struct Ycc {
    Vector luma, cb, cr;
};

Vector Pairs(int low, int high) {
    return CAM_SIMD(set1_epi32)(static_cast<int>(static_cast<unsigned>(high) << 16 | (low & 0xFFFF)));
}

// Red or blue, from words that are kDifferenceBias higher, times its factor of a half and with the offset of
// a difference: the words below it fill up the fraction.
constexpr int kDifferenceBias = 256;
static_assert(kCbFactors.offset == (kDifferenceBias << 15) + 0x7FFF &&
              kCrFactors.offset == kCbFactors.offset);
static_assert(kCbFactors.blue == 1 << 15 && kCrFactors.red == 1 << 15);
struct Halves {
    Vector low, high;
};
[[gnu::always_inline]] inline Halves OwnTerm(Vector words) {
    const Vector biased = CAM_SIMD(add_epi16)(words, Words(kDifferenceBias));
    return {CAM_SIMD(srli_epi32)(CAM_SIMD(unpacklo_epi16)(Words(-1), biased), 1),
            CAM_SIMD(srli_epi32)(CAM_SIMD(unpackhi_epi16)(Words(-1), biased), 1)};
}

// The words of sums with fractions.
[[gnu::always_inline]] inline Vector Whole(Vector low, Vector high) {
    return CAM_SIMD(packs_epi32)(CAM_SIMD(srli_epi32)(low, kYccShift), CAM_SIMD(srli_epi32)(high, kYccShift));
}
[[gnu::always_inline]] inline Vector LumaOf(Vector redGreen, Vector blueGreen) {
    // Green's factor does not fit a signed word: it is taken in two parts.
    constexpr int kPart = 16384;
    const Vector sum = CAM_SIMD(add_epi32)(
        CAM_SIMD(madd_epi16)(redGreen, Pairs(kLumaFactors.red, kLumaFactors.green - kPart)),
        CAM_SIMD(madd_epi16)(blueGreen, Pairs(kLumaFactors.blue, kPart)));
    return CAM_SIMD(add_epi32)(sum, CAM_SIMD(set1_epi32)(kLumaFactors.offset));
}
[[gnu::always_inline]] inline Vector DifferenceOf(const Halves& pairs, Vector factors, const Halves& own) {
    return Whole(CAM_SIMD(add_epi32)(CAM_SIMD(madd_epi16)(pairs.low, factors), own.low),
                 CAM_SIMD(add_epi32)(CAM_SIMD(madd_epi16)(pairs.high, factors), own.high));
}

// Inlined, so that nothing of it goes through memory.
[[gnu::always_inline]] inline Ycc YccOf(Vector p) {
    const Vector red = Red(p), green = Green(p), blue = Blue(p);
    const Halves redGreen = {CAM_SIMD(unpacklo_epi16)(red, green), CAM_SIMD(unpackhi_epi16)(red, green)};
    const Halves blueGreen = {CAM_SIMD(unpacklo_epi16)(blue, green), CAM_SIMD(unpackhi_epi16)(blue, green)};
    return {Whole(LumaOf(redGreen.low, blueGreen.low), LumaOf(redGreen.high, blueGreen.high)),
            DifferenceOf(redGreen, Pairs(kCbFactors.red, kCbFactors.green), OwnTerm(blue)),
            DifferenceOf(blueGreen, Pairs(kCrFactors.blue, kCrFactors.green), OwnTerm(red))};
}

// A vector's worth of bytes, the first half to `first`, the second to `second`.
[[gnu::always_inline]] inline void StoreHalves(std::uint8_t* first, std::uint8_t* second, Vector bytes) {
#ifdef __AVX2__
    _mm_storeu_si128(reinterpret_cast<__m128i*>(first), _mm256_castsi256_si128(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(second), _mm256_extracti128_si256(bytes, 1));
#else
    _mm_storel_epi64(reinterpret_cast<Vector*>(first), bytes);
    _mm_storel_epi64(reinterpret_cast<Vector*>(second), _mm_unpackhi_epi64(bytes, bytes));
#endif
}

// The sums of neighbours, with the odd columns' halves rounded up, divided by 4.
[[gnu::always_inline]] inline Vector MeansOf(Vector sums) {
    const Vector bias = CAM_SIMD(set1_epi64x)(2LL << 32 | 1);
    const Vector pairs = CAM_SIMD(madd_epi16)(sums, Words(1));
    return CAM_SIMD(srli_epi32)(CAM_SIMD(add_epi32)(pairs, bias), 2);
}

// Words that fit bytes: a vector's first half as bytes to `first`, the second to `second`.
[[gnu::always_inline]] inline void StoreHalvesAsBytes(std::uint8_t* first, std::uint8_t* second,
                                                      Vector words) {
    const Vector bytes = CAM_SIMD(packus_epi16)(words, words);
#ifdef __AVX2__
    _mm_storel_epi64(reinterpret_cast<__m128i*>(first), _mm256_castsi256_si128(bytes));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(second), _mm256_extracti128_si256(bytes, 1));
#else
    _mm_storeu_si32(first, bytes);
    _mm_storeu_si32(second, _mm_srli_si128(bytes, 4));
#endif
}

void Rgb565RowsToYcc(const YccRows& to, const std::uint8_t* upper, const std::uint8_t* lower,
                     std::size_t width) {
    static_assert(kYccPixels % kVectorPixels == 0);
    std::uint8_t *const first = to.luma[0], *const second = to.luma[1], *const cbs = to.cb,
                        *const crs = to.cr;
    for (std::size_t x = 0; x < width; x += kVectorPixels) {
        const Ycc top = YccOf(Load(upper + 2 * x));
        const Ycc bottom = YccOf(Load(lower + 2 * x));
        StoreHalves(first + x, second + x, SwapMiddle(CAM_SIMD(packus_epi16)(top.luma, bottom.luma)));
        const Vector cb = MeansOf(CAM_SIMD(add_epi16)(top.cb, bottom.cb));
        const Vector cr = MeansOf(CAM_SIMD(add_epi16)(top.cr, bottom.cr));
        StoreHalvesAsBytes(cbs + x / 2, crs + x / 2, SwapMiddle(CAM_SIMD(packs_epi32)(cb, cr)));
    }
}

}  // namespace
}  // namespace cam::still
