// Luma and colour differences of RGB565 pixels from tables, for the kernels on words.
#pragma once

#include <array>
#include <cstdint>

#include "still/pixels/pixel_tables.h"

namespace cam::still {

// What a field of a pixel adds to luma and to the two differences; the offsets are green's. 2.5 KB.
struct YccTerms {
    std::int32_t luma, cb, cr;
};
struct YccTables {
    // Red ends where green begins: one address is enough for both.
    struct RedAndGreen {
        YccTerms red, green;
        std::int32_t unused[2];
    };
    struct Blue {
        YccTerms terms;
        std::int32_t unused;
    };
    std::array<RedAndGreen, 64> redAndGreen;  // red: 32 of them
    std::array<Blue, 32> blue;
};
static_assert(sizeof(YccTables::RedAndGreen) == 32 && sizeof(YccTables::Blue) == 16, "indices are shifted");
constexpr YccTables kYcc = [] {
    YccTables tables{};
    const auto terms = [](int v, int luma, int cb, int cr) { return YccTerms{luma * v, cb * v, cr * v}; };
    for (std::size_t i = 0; i < 32; ++i) {
        const int v = kExpand5[i];
        tables.redAndGreen[i].red = terms(v, kLumaFactors.red, kCbFactors.red, kCrFactors.red);
        tables.blue[i].terms = terms(v, kLumaFactors.blue, kCbFactors.blue, kCrFactors.blue);
    }
    for (std::size_t i = 0; i < 64; ++i) {
        YccTerms& green = tables.redAndGreen[i].green;
        green = terms(kExpand6[i], kLumaFactors.green, kCbFactors.green, kCrFactors.green);
        green.luma += kLumaFactors.offset;
        green.cb += kCbFactors.offset;
        green.cr += kCrFactors.offset;
    }
    return tables;
}();

// Two pixels of a row. Returns their luma as two bytes.
#ifdef __arm__
// Compilers load the three terms one by one.
inline std::uint32_t AddYcc(std::uint32_t words, std::uint32_t& cb, std::uint32_t& cr) {
    std::uint32_t luma;
    asm("and   r6, %[words], #0xF800\n\t"
        "add   r6, %[green], r6, lsr #6\n\t"
        "ldmdb r6, {r4, r5, r6}\n\t"
        "and   r9, %[words], #0x07E0\n\t"
        "add   r9, %[green], r9\n\t"
        "ldmia r9, {r7, r8, r9}\n\t"
        "add   r4, r4, r7\n\t"
        "add   r5, r5, r8\n\t"
        "add   r6, r6, r9\n\t"
        "and   r9, %[words], #0x001F\n\t"
        "add   r9, %[blue], r9, lsl #4\n\t"
        "ldmia r9, {r7, r8, r9}\n\t"
        "add   r4, r4, r7\n\t"
        "add   r5, r5, r8\n\t"
        "add   r6, r6, r9\n\t"
        "mov   %[luma], r4, lsr #16\n\t"
        "add   %[cb], %[cb], r5, lsr #16\n\t"
        "add   %[cr], %[cr], r6, lsr #16\n\t"
        "and   r6, %[words], #0xF8000000\n\t"
        "add   r6, %[green], r6, lsr #22\n\t"
        "ldmdb r6, {r4, r5, r6}\n\t"
        "and   r9, %[words], #0x07E00000\n\t"
        "add   r9, %[green], r9, lsr #16\n\t"
        "ldmia r9, {r7, r8, r9}\n\t"
        "add   r4, r4, r7\n\t"
        "add   r5, r5, r8\n\t"
        "add   r6, r6, r9\n\t"
        "and   r9, %[words], #0x001F0000\n\t"
        "add   r9, %[blue], r9, lsr #12\n\t"
        "ldmia r9, {r7, r8, r9}\n\t"
        "add   r4, r4, r7\n\t"
        "add   r5, r5, r8\n\t"
        "add   r6, r6, r9\n\t"
        "and   r4, r4, #0x00FF0000\n\t"
        "orr   %[luma], %[luma], r4, lsr #8\n\t"
        "add   %[cb], %[cb], r5, lsr #16\n\t"
        "add   %[cr], %[cr], r6, lsr #16"
        : [luma] "=&r"(luma), [cb] "+&r"(cb), [cr] "+&r"(cr)
        : [words] "r"(words), [green] "r"(&kYcc.redAndGreen[0].green), [blue] "r"(kYcc.blue.data()), "m"(kYcc)
        : "r4", "r5", "r6", "r7", "r8", "r9");
    return luma;
}
#else
inline std::uint32_t AddYcc(std::uint32_t words, std::uint32_t& cb, std::uint32_t& cr) {
    const auto addOne = [&](std::uint32_t pixel) {
        const YccTerms& red = kYcc.redAndGreen[pixel >> 11 & 31].red;
        const YccTerms& green = kYcc.redAndGreen[pixel >> 5 & 63].green;
        const YccTerms& blue = kYcc.blue[pixel & 31].terms;
        cb += static_cast<std::uint32_t>(red.cb + green.cb + blue.cb) >> kYccShift;
        cr += static_cast<std::uint32_t>(red.cr + green.cr + blue.cr) >> kYccShift;
        return static_cast<std::uint32_t>(red.luma + green.luma + blue.luma) >> kYccShift;
    };
    const std::uint32_t first = addOne(words);
    return first | addOne(words >> 16) << 8;
}
#endif

}  // namespace cam::still
