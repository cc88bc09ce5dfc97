// What a frame shows of the test chart: the other side of chart.h, for whoever judges what a camera
// delivered.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <span>

#include "format.h"
#include "scene/chart.h"

namespace kit {

// The colour of the pixel at (x, y) from the top left, as the format stores it.
inline Pixel PixelAt(std::span<const BYTE> frame, const Format& format, int x, int y) {
    const int row = format.topDown ? y : format.height - 1 - y;
    const BYTE* bytes = frame.data() + row * format.Stride();
    if (format.layout == Layout::Yuy2) {
        const BYTE* pair = bytes + x / 2 * 4;
        const int luma = 298 * (pair[x % 2 * 2] - 16) + 128, u = pair[1] - 128, v = pair[3] - 128;
        return Rgb(Clamp255((luma + 409 * v) >> 8), Clamp255((luma - 100 * u - 208 * v) >> 8),
                   Clamp255((luma + 516 * u) >> 8));
    }
    const int word = bytes[2 * x] | bytes[2 * x + 1] << 8;
    const int blue = (word & 31) * 255 / 31;
    if (format.layout == Layout::Rgb565)
        return Rgb((word >> 11) * 255 / 31, (word >> 5 & 63) * 255 / 63, blue);
    return Rgb((word >> 10 & 31) * 255 / 31, (word >> 5 & 31) * 255 / 31, blue);
}

inline bool IsNear(Pixel left, Pixel right, int tolerance) {
    return std::abs(Red(left) - Red(right)) <= tolerance &&
           std::abs(Green(left) - Green(right)) <= tolerance &&
           std::abs(Blue(left) - Blue(right)) <= tolerance;
}

// Whether the corner marks, the bars and the ramp stand where they belong; `tolerance` in steps of 0 to 255.
inline bool ShowsChart(std::span<const BYTE> frame, const Format& format, int tolerance) {
    using namespace chart;
    const auto shows = [&](int column, int row, Pixel expected) {
        const Pixel seen = PixelAt(frame, format, CellX(column, format.width), CellY(row, format.height));
        return IsNear(seen, expected, tolerance);
    };
    bool all = shows(0, 0, kTopLeft) && shows(kColumns - 1, 0, kTopRight) &&
               shows(0, kRows - 1, kBottomLeft) && shows(kColumns - 1, kRows - 1, kBottomRight);
    for (int bar = 0; bar < 8; ++bar) all = all && shows(2 * bar, kBarsTop + 1, kBars[bar]);
    for (int column = 0; column < kColumns; ++column) all = all && shows(column, 6, RampGrey(column));
    return all;
}

// The number that the chart carries, 0 to 4095.
inline int FrameNumber(std::span<const BYTE> frame, const Format& format) {
    using namespace chart;
    int number = 0;
    for (int bit = 0; bit < kCounterBits; ++bit) {
        const Pixel seen = PixelAt(frame, format, CellX(kCounterLeft + bit, format.width),
                                   CellY(kCounterTop, format.height));
        number = number * 2 + (Green(seen) > 127);
    }
    return number;
}

}  // namespace kit
