// For processors with 32-bit registers, free shifts and tables in the cache, and nothing wider: whole words
// are loaded and stored, clamping is a table lookup, and nothing branches on a pixel's colour.
#include "still/pixels/pixel_kernels.h"

#include <array>
#include <bit>

#include "still/pixels/pixel_tables.h"
#include "still/pixels/pixel_word_ycc.h"

namespace cam::still {
namespace {

static_assert(std::endian::native == std::endian::little, "words are taken apart from their low end");

bool Aligned(const void* pointer) {
    return (reinterpret_cast<std::uintptr_t>(pointer) & 3) == 0;
}

// One load, one store: the processors meant here trap on unaligned words.
using Word __attribute__((may_alias)) = std::uint32_t;
std::uint32_t LoadWord(const std::uint8_t* at) {
    return *reinterpret_cast<const Word*>(at);
}
void StoreWord(std::uint8_t* at, std::uint32_t word) {
    *reinterpret_cast<Word*>(at) = word;
}

// The colour terms by byte value; what belongs to one byte stands together, so that one address serves for
// both.
struct Terms {
    struct OfU {
        std::int32_t blue, green;  // 516 D, -100 D
    };
    struct OfV {
        std::int32_t red, green;  // 409 E, -208 E
    };
    std::array<OfU, 256> u{};
    std::array<OfV, 256> v{};
    std::array<std::int32_t, 256> luma{};  // 298 C + 128
};

constexpr Terms MakeTerms() {
    Terms terms;
    for (int i = 0; i < 256; ++i) {
        terms.u[i] = {516 * (i - 128), -100 * (i - 128)};
        terms.v[i] = {409 * (i - 128), -208 * (i - 128)};
        terms.luma[i] = 298 * (i - 16) + 128;
    }
    return terms;
}
constexpr Terms kTerms = MakeTerms();

// A colour term shifted down, clamped to Largest. The terms lie within these bounds for any bytes.
constexpr int kLowestTerm = -298 * 16 - 516 * 128 + 128;
constexpr int kHighestTerm = 298 * 239 + 516 * 127 + 128;

template <int Shift, int Largest>
struct ClampTable {
    static constexpr int kBelow = -(kLowestTerm >> Shift);
    std::array<std::uint8_t, kBelow + (kHighestTerm >> Shift) + 1> values{};

    constexpr ClampTable() {
        for (int i = 0; i < static_cast<int>(values.size()); ++i) {
            const int term = i - kBelow;
            values[i] = static_cast<std::uint8_t>(term < 0 ? 0 : term > Largest ? Largest : term);
        }
    }
    const std::uint8_t* zero() const { return values.data() + kBelow; }
};
constexpr ClampTable<11, 31> kClamp5;
constexpr ClampTable<10, 63> kClamp6;

void Yuy2RowToRgb565(std::uint8_t* row, std::size_t width) {
    if (!Aligned(row)) return kPlainPixelKernels.yuy2RowToRgb565(row, width);
    const std::uint8_t* const clamp5 = kClamp5.zero();
    const std::uint8_t* const clamp6 = kClamp6.zero();
    const std::uint8_t* const end = row + width / 2 * 4;
    for (; row != end; row += 4) {
        // Bytes by themselves: taking a loaded word apart costs more.
        const Terms::OfU& u = kTerms.u[row[1]];
        const Terms::OfV& v = kTerms.v[row[3]];
        const int red = v.red;
        const int green = u.green + v.green;
        const int blue = u.blue;
        const int luma0 = kTerms.luma[row[0]];
        const int luma1 = kTerms.luma[row[2]];
        std::uint32_t words = clamp5[(luma0 + blue) >> 11];
        words |= std::uint32_t{clamp6[(luma0 + green) >> 10]} << 5;
        words |= std::uint32_t{clamp5[(luma0 + red) >> 11]} << 11;
        words |= std::uint32_t{clamp5[(luma1 + blue) >> 11]} << 16;
        words |= std::uint32_t{clamp6[(luma1 + green) >> 10]} << 21;
        words |= std::uint32_t{clamp5[(luma1 + red) >> 11]} << 27;
        StoreWord(row, words);
    }
    kPlainPixelKernels.yuy2RowToRgb565(row, width & 1);
}

void GatherLumaRow(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    if (!Aligned(grey) || !Aligned(row)) return kPlainPixelKernels.gatherLumaRow(grey, row, width);
    const std::uint8_t* const end = grey + (width & ~std::size_t{3});
    for (; grey != end; grey += 4, row += 8) {
        const std::uint32_t first = LoadWord(row) & 0x00FF00FF;
        const std::uint32_t second = LoadWord(row + 4) & 0x00FF00FF;
        // Y0 . Y1 . with Y2 . Y3 . one byte up, then the middle bytes change places.
        StoreWord(grey, (first & 0xFF) | (first >> 8) | (second & 0xFF) << 16 | (second & 0xFF0000) << 8);
    }
    kPlainPixelKernels.gatherLumaRow(grey, row, width & 3);
}

// The grey of an RGB565 word is its blue; see the plain kernel.
std::uint32_t GreyOfWord(std::uint32_t p) {
    return kExpand5[p & 31];
}

void Rgb565RowToGrey(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    if (!Aligned(grey) || !Aligned(row)) return kPlainPixelKernels.rgb565RowToGrey(grey, row, width);
    const std::uint8_t* const end = grey + (width & ~std::size_t{3});
    for (; grey != end; grey += 4, row += 8) {
        const std::uint32_t first = LoadWord(row);
        const std::uint32_t second = LoadWord(row + 4);
        StoreWord(grey, GreyOfWord(first) | GreyOfWord(first >> 16) << 8 | GreyOfWord(second) << 16 |
                            GreyOfWord(second >> 16) << 24);
    }
    kPlainPixelKernels.rgb565RowToGrey(grey, row, width & 3);
}

// Bytes a b as a a b b.
std::uint32_t DoubleBytes(std::uint32_t twoBytes) {
    const std::uint32_t apart = (twoBytes | twoBytes << 8) & 0x00FF00FF;
    return apart | apart << 8;
}

void ExpandGreyRow(std::uint8_t* row, const std::uint8_t* grey, std::size_t width) {
    if (!Aligned(grey) || !Aligned(row)) return kPlainPixelKernels.expandGreyRow(row, grey, width);
    std::size_t done = width & ~std::size_t{3};
    kPlainPixelKernels.expandGreyRow(row + 2 * done, grey + done, width - done);
    while (done > 0) {
        done -= 4;
        const std::uint32_t bytes = LoadWord(grey + done);
        // The top bit of each byte that is not 0, then that bit spread over its byte.
        const std::uint32_t set = (((bytes & 0x7F7F7F7F) + 0x7F7F7F7F) | bytes) & 0x80808080;
        const std::uint32_t white = (set << 1) - (set >> 7);
        StoreWord(row + 2 * done + 4, DoubleBytes(white >> 16));
        StoreWord(row + 2 * done, DoubleBytes(white & 0xFFFF));
    }
}

// Green and blue at one lookup, as the bytes G B: the low 11 bits of a pixel hold both. 4 KB, an eighth of
// the data cache of the devices meant here.
constexpr std::uint32_t kGreenBlueMask = 0x7FF;

constexpr std::array<std::uint16_t, kGreenBlueMask + 1> MakeGreenBlue() {
    std::array<std::uint16_t, kGreenBlueMask + 1> table{};
    for (std::size_t p = 0; p < table.size(); ++p)
        table[p] = static_cast<std::uint16_t>(kExpand6[p >> 5] | kExpand5[p & 31] << 8);
    return table;
}
constexpr auto kGreenBlue = MakeGreenBlue();

void Rgb565RowToRgb888(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    if (!Aligned(rgb) || !Aligned(row)) return kPlainPixelKernels.rgb565RowToRgb888(rgb, row, width);
    const std::uint8_t* const end = row + (width & ~std::size_t{3}) * 2;
    for (; row != end; row += 8, rgb += 12) {
        const std::uint32_t first = LoadWord(row);
        const std::uint32_t second = LoadWord(row + 4);
        const std::uint32_t red0 = kExpand5[(first >> 11) & 31];
        const std::uint32_t red1 = kExpand5[first >> 27];
        const std::uint32_t red2 = kExpand5[(second >> 11) & 31];
        const std::uint32_t red3 = kExpand5[second >> 27];
        const std::uint32_t rest0 = kGreenBlue[first & kGreenBlueMask];
        const std::uint32_t rest1 = kGreenBlue[(first >> 16) & kGreenBlueMask];
        const std::uint32_t rest2 = kGreenBlue[second & kGreenBlueMask];
        const std::uint32_t rest3 = kGreenBlue[(second >> 16) & kGreenBlueMask];
        StoreWord(rgb, red0 | rest0 << 8 | red1 << 24);
        StoreWord(rgb + 4, rest1 | red2 << 16 | rest2 << 24);
        StoreWord(rgb + 8, rest2 >> 8 | red3 << 8 | rest3 << 16);
    }
    kPlainPixelKernels.rgb565RowToRgb888(rgb, row, width & 3);
}

void Rgb565RowsToYcc(const YccRows& to, const std::uint8_t* upper, const std::uint8_t* lower,
                     std::size_t width) {
    if (!Aligned(upper) || !Aligned(lower) || !Aligned(to.luma[0]) || !Aligned(to.luma[1]))
        return kPlainPixelKernels.rgb565RowsToYcc(to, upper, lower, width);
    std::uint8_t *first = to.luma[0], *second = to.luma[1], *cb = to.cb, *cr = to.cr;
    for (const std::uint8_t* const end = upper + 2 * width; upper != end;
         upper += 8, lower += 8, first += 4, second += 4, cb += 2, cr += 2) {
        std::uint32_t evenCb = 1, evenCr = 1, oddCb = 2, oddCr = 2;
        const std::uint32_t top = AddYcc(LoadWord(upper), evenCb, evenCr);
        const std::uint32_t bottom = AddYcc(LoadWord(lower), evenCb, evenCr);
        cb[0] = static_cast<std::uint8_t>(evenCb >> 2);
        cr[0] = static_cast<std::uint8_t>(evenCr >> 2);
        StoreWord(first, top | AddYcc(LoadWord(upper + 4), oddCb, oddCr) << 16);
        StoreWord(second, bottom | AddYcc(LoadWord(lower + 4), oddCb, oddCr) << 16);
        cb[1] = static_cast<std::uint8_t>(oddCb >> 2);
        cr[1] = static_cast<std::uint8_t>(oddCr >> 2);
    }
}

void UpFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                 std::size_t count) {
    kPlainPixelKernels.upFilterRow(filtered, row, above, count);
}

// Where the row above does not change, the nearest is always the one to the left; where the row does not
// change from the left, always the one above.
inline std::uint32_t Nearest(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    if (b == c) return a;
    if (a == c) return b;
    const int across = static_cast<int>(b - c), down = static_cast<int>(a - c);
    const int toA = across < 0 ? -across : across, toB = down < 0 ? -down : down;
    const int both = across + down, toC = both < 0 ? -both : both;
    if (toA <= toB) return toA <= toC ? a : c;
    return toB <= toC ? b : c;
}

// A pixel at a time, so that what is to the left stays in registers.
void PaethFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                    std::size_t count) {
    const std::uint8_t* const end = row + count / kRgbBytes * kRgbBytes;
    std::uint32_t a0 = row[-3], a1 = row[-2], a2 = row[-1];
    std::uint32_t c0 = above[-3], c1 = above[-2], c2 = above[-1];
    for (; row != end; row += kRgbBytes, above += kRgbBytes, filtered += kRgbBytes) {
        const std::uint32_t b0 = above[0], b1 = above[1], b2 = above[2];
        const std::uint32_t x0 = row[0], x1 = row[1], x2 = row[2];
        filtered[0] = static_cast<std::uint8_t>(x0 - Nearest(a0, b0, c0));
        filtered[1] = static_cast<std::uint8_t>(x1 - Nearest(a1, b1, c1));
        filtered[2] = static_cast<std::uint8_t>(x2 - Nearest(a2, b2, c2));
        a0 = x0, a1 = x1, a2 = x2;
        c0 = b0, c1 = b1, c2 = b2;
    }
    kPlainPixelKernels.paethFilterRow(filtered, row, above, count % kRgbBytes);
}

}  // namespace

const PixelKernels kWordPixelKernels = {Yuy2RowToRgb565,   GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                        Rgb565RowToRgb888, UpFilterRow,   PaethFilterRow,  Rgb565RowsToYcc};

}  // namespace cam::still
