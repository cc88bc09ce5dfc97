// The pixel kernels with vectors; see base/simd/vector.h for what an including file must heed.

#include "base/simd/yuy2.h"
#include "still/pixels/pixel_kernels.h"
#include "still/pixels/pixel_tables.h"

namespace cam::still {
namespace {

using namespace simd;

constexpr std::size_t kVectorBytes = sizeof(Vector);
constexpr std::size_t kVectorPixels = kVectorBytes / 2;  // of 16 bits

Vector Rgb565Of(const ColorWords& color) {
    const Vector high = And(CAM_SIMD(add_epi16)(color.red, color.red), Words(0xF800));
    const Vector middle = And(CAM_SIMD(srli_epi16)(color.green, 4), Words(0x07E0));
    return Or(Or(high, middle), CAM_SIMD(srli_epi16)(color.blue, 10));
}

void Yuy2RowToRgb565(std::uint8_t* row, std::size_t width) {
    std::size_t left = width;
    for (; left >= 2 * kVectorPixels; left -= 2 * kVectorPixels, row += 2 * kVectorBytes) {
        const Vector first = Load(row);
        const Vector second = Load(row + kVectorBytes);
        const ChromaOfTwo chroma = ChromaOf(first, second);
        Store(row, Rgb565Of(ColorsOfTerms(EvenBytes(first), chroma.low)));
        Store(row + kVectorBytes, Rgb565Of(ColorsOfTerms(EvenBytes(second), chroma.high)));
    }
    kPlainPixelKernels.yuy2RowToRgb565(row, left);
}

void GatherLumaRow(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorBytes; left -= kVectorBytes, grey += kVectorBytes, row += 2 * kVectorBytes) {
        const Vector first = EvenBytes(Load(row));
        const Vector second = EvenBytes(Load(row + kVectorBytes));
        Store(grey, SwapMiddle(CAM_SIMD(packus_epi16)(first, second)));
    }
    kPlainPixelKernels.gatherLumaRow(grey, row, left);
}

#ifdef __AVX2__
// One multiplication that rounds by itself, product / 32768, with scales that suit every value of their
// field.
constexpr int kRounded5 = 16846;  // 255 / 31 of 2048, for a field in bits 4 to 8
constexpr int kRounded6 = 16579;  // 255 / 63 of 4096, for a field in bits 3 to 8
Vector Red(Vector p) {
    return _mm256_mulhrs_epi16(And(_mm256_srli_epi16(p, 7), Words(31 << 4)), Words(kRounded5));
}
Vector Green(Vector p) {
    return _mm256_mulhrs_epi16(And(_mm256_srli_epi16(p, 2), Words(63 << 3)), Words(kRounded6));
}
Vector Blue(Vector p) {
    return _mm256_mulhrs_epi16(And(_mm256_slli_epi16(p, 4), Words(31 << 4)), Words(kRounded5));
}
#else
Vector Expand(Vector v, int scale, int bias) {
    return _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(v, Words(scale)), Words(bias)), kExpandShift);
}
Vector Red(Vector p) {
    return Expand(_mm_srli_epi16(p, 11), kExpand5Scale, kExpand5Bias);
}
Vector Green(Vector p) {
    return Expand(And(_mm_srli_epi16(p, 5), Words(63)), kExpand6Scale, kExpand6Bias);
}
Vector Blue(Vector p) {
    return Expand(And(p, Words(31)), kExpand5Scale, kExpand5Bias);
}
#endif

// The grey of RGB565 words is their blue; see the plain kernel.
void Rgb565RowToGrey(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorBytes; left -= kVectorBytes, grey += kVectorBytes, row += 2 * kVectorBytes) {
        const Vector first = Blue(Load(row));
        const Vector second = Blue(Load(row + kVectorBytes));
        Store(grey, SwapMiddle(CAM_SIMD(packus_epi16)(first, second)));
    }
    kPlainPixelKernels.rgb565RowToGrey(grey, row, left);
}

void ExpandGreyRow(std::uint8_t* row, const std::uint8_t* grey, std::size_t width) {
    std::size_t done = width / kVectorBytes * kVectorBytes;
    kPlainPixelKernels.expandGreyRow(row + 2 * done, grey + done, width - done);
    const Vector ones = CAM_SIMD(set1_epi8)(-1);
    while (done > 0) {
        done -= kVectorBytes;
        const Vector black = CAM_SIMD(cmpeq_epi8)(SwapMiddle(Load(grey + done)), Zero());
        const Vector white = CAM_SIMD(sub_epi8)(ones, black);
        // Both halves are in registers before the first is stored over the grey bytes.
        Store(row + 2 * done, CAM_SIMD(unpacklo_epi8)(white, white));
        Store(row + 2 * done + kVectorBytes, CAM_SIMD(unpackhi_epi8)(white, white));
    }
}

// Stores a vector's pixels, which stand as R G B 0 in four-pixel groups: the first of each 128-bit half in
// `low`, the second in `high`. Each store writes more than the bytes of its pixels; what is too much is
// overwritten by the next one, in order of address, or lies within the row, of which kRgbSlack pixels must
// follow.
#ifdef __AVX2__
constexpr std::size_t kRgbSlack = 2;
void StoreRgb(std::uint8_t* rgb, Vector low, Vector high) {
    const Vector order =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    low = _mm256_shuffle_epi8(low, order);
    high = _mm256_shuffle_epi8(high, order);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb), _mm256_castsi256_si128(low));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb + 12), _mm256_castsi256_si128(high));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb + 24), _mm256_extracti128_si256(low, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb + 36), _mm256_extracti128_si256(high, 1));
}
#else
constexpr std::size_t kRgbSlack = 1;
void StoreFourRgb(std::uint8_t* rgb, Vector pixels) {
    const Vector first = And(pixels, _mm_set1_epi64x(0x0000000000FFFFFF));
    const Vector second = And(_mm_srli_epi64(pixels, 8), _mm_set1_epi64x(0x0000FFFFFF000000));
    const Vector packed = Or(first, second);
    _mm_storel_epi64(reinterpret_cast<Vector*>(rgb), packed);
    _mm_storel_epi64(reinterpret_cast<Vector*>(rgb + 6), _mm_unpackhi_epi64(packed, packed));
}
void StoreRgb(std::uint8_t* rgb, Vector low, Vector high) {
    StoreFourRgb(rgb, low);
    StoreFourRgb(rgb + 12, high);
}
#endif

void Rgb565RowToRgb888(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    std::size_t left = width;
    for (; left >= kVectorPixels + kRgbSlack;
         left -= kVectorPixels, row += kVectorBytes, rgb += 3 * kVectorPixels) {
        const Vector p = Load(row);
        const Vector redGreen = Or(Red(p), CAM_SIMD(slli_epi16)(Green(p), 8));
        const Vector blue = Blue(p);
        const Vector low = CAM_SIMD(unpacklo_epi16)(redGreen, blue);
        const Vector high = CAM_SIMD(unpackhi_epi16)(redGreen, blue);
        StoreRgb(rgb, low, high);
    }
    kPlainPixelKernels.rgb565RowToRgb888(rgb, row, left);
}

void UpFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                 std::size_t count) {
    std::size_t i = 0;
    for (; i + kVectorBytes <= count; i += kVectorBytes) {
        Store(filtered + i, CAM_SIMD(sub_epi8)(Load(row + i), Load(above + i)));
    }
    kPlainPixelKernels.upFilterRow(filtered + i, row + i, above + i, count - i);
}

Vector Distance(Vector a, Vector b) {
    return Or(CAM_SIMD(subs_epu8)(a, b), CAM_SIMD(subs_epu8)(b, a));
}
Vector NotBelow(Vector a, Vector b) {
    return CAM_SIMD(cmpeq_epi8)(CAM_SIMD(max_epu8)(a, b), a);
}
Vector Select(Vector mask, Vector set, Vector clear) {
    return Or(And(mask, set), CAM_SIMD_BITS(andnot)(mask, clear));
}

// With a - c and b - c of the same sign the third distance is the sum of the others and never the least; else
// it is their difference, so that bytes are enough.
void PaethFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                    std::size_t count) {
    std::size_t i = 0;
    for (; i + kVectorBytes <= count; i += kVectorBytes) {
        const Vector a = Load(row + i - kRgbBytes);
        const Vector b = Load(above + i);
        const Vector c = Load(above + i - kRgbBytes);
        const Vector toA = Distance(b, c);
        const Vector toB = Distance(a, c);
        const Vector sameSign = CAM_SIMD(cmpeq_epi8)(NotBelow(a, c), NotBelow(b, c));
        const Vector toC = Or(Distance(toA, toB), sameSign);
        const Vector least = CAM_SIMD(min_epu8)(toA, CAM_SIMD(min_epu8)(toB, toC));
        const Vector bOrC = Select(CAM_SIMD(cmpeq_epi8)(least, toB), b, c);
        const Vector nearest = Select(CAM_SIMD(cmpeq_epi8)(least, toA), a, bOrC);
        Store(filtered + i, CAM_SIMD(sub_epi8)(Load(row + i), nearest));
    }
    kPlainPixelKernels.paethFilterRow(filtered + i, row + i, above + i, count - i);
}

}  // namespace
}  // namespace cam::still
