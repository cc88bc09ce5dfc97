// The row kernels with vectors; see base/simd/vector.h for what an including file must heed.

#include "base/simd/yuy2.h"
#include "platform/desktop/camera_driver/row_kernels.h"

namespace cam::driver {
namespace {

using namespace simd;

constexpr std::size_t kVectorBytes = sizeof(Vector);
constexpr std::size_t kVectorPixels = kVectorBytes / 2;  // of 16 bits

Vector Rgb555Of(const ColorWords& color) {
    const Vector high = And(color.red, Words(0x7C00));
    const Vector middle = And(CAM_SIMD(srli_epi16)(color.green, 5), Words(0x03E0));
    return Or(Or(high, middle), CAM_SIMD(srli_epi16)(color.blue, 10));
}

// While a row is converted, the lines of memory that are next to be read and written are fetched: the input
// this far ahead, the output a row ahead, because preview's rows lie upwards in memory. A row of the output
// that is not in the cache would have to be waited for at its first byte, though not one of its bytes counts.
constexpr std::size_t kFetchAhead = 3072;
constexpr std::size_t kLineBytes = 64;

void FetchLinesAhead(const std::uint8_t* input, const std::uint8_t* output, std::ptrdiff_t nextRgb) {
    for (std::size_t i = 0; i < 2 * kVectorBytes; i += kLineBytes) {
        _mm_prefetch(reinterpret_cast<const char*>(input + kFetchAhead + i), _MM_HINT_T0);
        __builtin_prefetch(output + nextRgb + static_cast<std::ptrdiff_t>(i), 1);
    }
}

void Yuy2ToRgb555(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width, std::ptrdiff_t nextRgb) {
    std::size_t left = width;
    for (; left >= 2 * kVectorPixels;
         left -= 2 * kVectorPixels, row += 2 * kVectorBytes, rgb += 2 * kVectorBytes) {
        FetchLinesAhead(row, rgb, nextRgb);
        const Vector first = Load(row);
        const Vector second = Load(row + kVectorBytes);
        const ChromaOfTwo chroma = ChromaOf(first, second);
        Store(rgb, Rgb555Of(ColorsOfTerms(EvenBytes(first), chroma.low)));
        Store(rgb + kVectorBytes, Rgb555Of(ColorsOfTerms(EvenBytes(second), chroma.high)));
    }
    kPlainRowKernels.yuy2ToRgb555(rgb, row, left, nextRgb);
}

void Nv12ToRgb555(std::uint8_t* rgb, const std::uint8_t* luma, const std::uint8_t* chroma, std::size_t width,
                  std::ptrdiff_t nextRgb) {
    std::size_t left = width;
    for (; left >= kVectorBytes;
         left -= kVectorBytes, luma += kVectorBytes, chroma += kVectorBytes, rgb += 2 * kVectorBytes) {
        FetchLinesAhead(luma, rgb, nextRgb);
        const Vector lumas = SwapMiddle(Load(luma));
        const Vector pairs = SwapMiddle(Load(chroma));
        const ChromaOfTwo terms = ChromaOfWords(EvenBytes(pairs), OddBytes(pairs));
        Store(rgb, Rgb555Of(ColorsOfTerms(CAM_SIMD(unpacklo_epi8)(lumas, Zero()), terms.low)));
        Store(rgb + kVectorBytes, Rgb555Of(ColorsOfTerms(CAM_SIMD(unpackhi_epi8)(lumas, Zero()), terms.high)));
    }
    kPlainRowKernels.nv12ToRgb555(rgb, luma, chroma, left, nextRgb);
}

// ---- RGB ------------------------------------------------------------------------------------------------

// Pixels of B, G, R and anything, four bytes each, as words in four bytes.
Vector Rgb555OfBgr(Vector pixels) {
    const Vector red = And(CAM_SIMD(srli_epi32)(pixels, 9), CAM_SIMD(set1_epi32)(0x7C00));
    const Vector green = And(CAM_SIMD(srli_epi32)(pixels, 6), CAM_SIMD(set1_epi32)(0x03E0));
    const Vector blue = And(CAM_SIMD(srli_epi32)(pixels, 3), CAM_SIMD(set1_epi32)(0x001F));
    return Or(Or(red, green), blue);
}

void StoreBgr(std::uint8_t* rgb, Vector first, Vector second) {
    Store(rgb, SwapMiddle(CAM_SIMD(packs_epi32)(Rgb555OfBgr(first), Rgb555OfBgr(second))));
}

void Bgr32ToRgb555(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorPixels; left -= kVectorPixels, row += 2 * kVectorBytes, rgb += kVectorBytes)
        StoreBgr(rgb, Load(row), Load(row + kVectorBytes));
    kPlainRowKernels.bgr32ToRgb555(rgb, row, left);
}

// Half as many pixels as a vector has words, spread to four bytes each. Reads up to 4 bytes past them.
#ifdef __AVX2__
Vector LoadBgr24(const std::uint8_t* row) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 12));
    const __m128i spread = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm256_set_m128i(_mm_shuffle_epi8(high, spread), _mm_shuffle_epi8(low, spread));
}
#else
Vector LoadBgr24(const std::uint8_t* row) {
    const Vector bytes = Load(row);
    const Vector first = _mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3));
    const Vector second = _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9));
    return _mm_unpacklo_epi64(first, second);
}
#endif

void Bgr24ToRgb555(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    constexpr std::size_t kReadPast = 2;  // pixels
    std::size_t left = width;
    for (; left >= kVectorPixels + kReadPast;
         left -= kVectorPixels, row += 3 * kVectorPixels, rgb += kVectorBytes)
        StoreBgr(rgb, LoadBgr24(row), LoadBgr24(row + 3 * kVectorPixels / 2));
    kPlainRowKernels.bgr24ToRgb555(rgb, row, left);
}

// ---- YUV ------------------------------------------------------------------------------------------------

// Bytes of the one between bytes of the other, in two vectors.
void StoreInterleaved(std::uint8_t* out, Vector even, Vector odd) {
    const Vector a = SwapMiddle(even);
    const Vector b = SwapMiddle(odd);
    Store(out, CAM_SIMD(unpacklo_epi8)(a, b));
    Store(out + kVectorBytes, CAM_SIMD(unpackhi_epi8)(a, b));
}

void Nv12ToYuy2(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* chroma, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorBytes;
         left -= kVectorBytes, luma += kVectorBytes, chroma += kVectorBytes, yuy2 += 2 * kVectorBytes)
        StoreInterleaved(yuy2, Load(luma), Load(chroma));
    kPlainRowKernels.nv12ToYuy2(yuy2, luma, chroma, left);
}

void PlanarToYuy2(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* u, const std::uint8_t* v,
                  std::size_t width) {
    std::size_t left = width;
    for (; left >= 2 * kVectorBytes; left -= 2 * kVectorBytes, luma += 2 * kVectorBytes, u += kVectorBytes,
                                     v += kVectorBytes, yuy2 += 4 * kVectorBytes) {
        const Vector us = SwapMiddle(Load(u));
        const Vector vs = SwapMiddle(Load(v));
        StoreInterleaved(yuy2, Load(luma), CAM_SIMD(unpacklo_epi8)(us, vs));
        StoreInterleaved(yuy2 + 2 * kVectorBytes, Load(luma + kVectorBytes), CAM_SIMD(unpackhi_epi8)(us, vs));
    }
    kPlainRowKernels.planarToYuy2(yuy2, luma, u, v, left);
}

void FullToStudio(std::uint8_t* yuy2, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorPixels; left -= kVectorPixels, yuy2 += kVectorBytes) {
        const Vector bytes = Load(yuy2);
        const Vector luma =
            CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(EvenBytes(bytes), Words(220)), Words(16 * 256 + 128));
        const Vector chroma =
            CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(OddBytes(bytes), Words(225)), Words(16 * 256));
        Store(yuy2, Or(CAM_SIMD(srli_epi16)(luma, 8), And(chroma, Words(0xFF00))));
    }
    kPlainRowKernels.fullToStudio(yuy2, left);
}

}  // namespace
}  // namespace cam::driver
