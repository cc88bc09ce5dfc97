// How the 5-bit and 6-bit components of an RGB565 word become bytes, made at compile time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace cam::still {

constexpr std::size_t kRgbBytes = 3;  // of a pixel of RGB888

// round(v * 255 / (Levels - 1)), halves upward.
template <std::size_t Levels>
constexpr std::array<std::uint8_t, Levels> MakeExpansion() {
    std::array<std::uint8_t, Levels> table{};
    for (std::size_t v = 0; v < Levels; ++v) {
        table[v] = static_cast<std::uint8_t>((2 * v * 255 + (Levels - 1)) / (2 * (Levels - 1)));
    }
    return table;
}

constexpr auto kExpand5 = MakeExpansion<32>();
constexpr auto kExpand6 = MakeExpansion<64>();

// The same without a table, for kernels that work on many pixels at once: (v * scale + bias) >>
// kExpandShift.
constexpr int kExpandShift = 6;
constexpr int kExpand5Scale = 527;
constexpr int kExpand5Bias = 23;
constexpr int kExpand6Scale = 259;
constexpr int kExpand6Bias = 33;

constexpr bool ExpansionsAgree() {
    for (int v = 0; v < 32; ++v) {
        if (kExpand5[v] != (v * kExpand5Scale + kExpand5Bias) >> kExpandShift) return false;
    }
    for (int v = 0; v < 64; ++v) {
        if (kExpand6[v] != (v * kExpand6Scale + kExpand6Bias) >> kExpandShift) return false;
    }
    return true;
}
static_assert(ExpansionsAgree(), "arithmetic and tables give the same bytes");

// Luma and colour differences of red, green and blue with 16 fractional bits, as libjpeg rounds them. The two
// differences are 128 higher, and a little less than halves are added to them.
struct YccFactors {
    int red, green, blue, offset;
};
constexpr int kYccShift = 16;
constexpr YccFactors kLumaFactors = {19595, 38470, 7471, 1 << 15};
constexpr YccFactors kCbFactors = {-11059, -21709, 32768, (128 << kYccShift) + (1 << 15) - 1};
constexpr YccFactors kCrFactors = {32768, -27439, -5329, (128 << kYccShift) + (1 << 15) - 1};

}  // namespace cam::still
