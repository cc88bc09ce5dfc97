#include "picture.h"

#include <cstdlib>
#include <cstring>

#include <scene/chart.h>

namespace verify {

namespace {

using ::kit::Pixel;
namespace chart = ::kit::chart;

Pixel PixelAt(const SeenFrame& frame, Bits bits, int x, int y) {
    const int word = frame.At(x, y), blue = (word & 31) * 255 / 31;
    return bits == Bits::Rgb565 ? ::kit::Rgb((word >> 11) * 255 / 31, (word >> 5 & 63) * 255 / 63, blue)
                                : ::kit::Rgb((word >> 10 & 31) * 255 / 31, (word >> 5 & 31) * 255 / 31, blue);
}

bool IsNear(Pixel one, Pixel other) {
    // Room for the rounding to five bits, for the conversion from YUY2 and for the colour that it shares
    // between two pixels.
    constexpr int kTolerance = 40;
    return std::abs(::kit::Red(one) - ::kit::Red(other)) <= kTolerance &&
           std::abs(::kit::Green(one) - ::kit::Green(other)) <= kTolerance &&
           std::abs(::kit::Blue(one) - ::kit::Blue(other)) <= kTolerance;
}

}  // namespace

bool ShowsChart(const SeenFrame& frame, Bits bits) {
    const auto shows = [&](int column, int row, Pixel expected) {
        return IsNear(
            PixelAt(frame, bits, chart::CellX(column, frame.width), chart::CellY(row, frame.Rows())),
            expected);
    };
    bool all = shows(0, 0, chart::kTopLeft) && shows(chart::kColumns - 1, 0, chart::kTopRight) &&
               shows(0, chart::kRows - 1, chart::kBottomLeft) &&
               shows(chart::kColumns - 1, chart::kRows - 1, chart::kBottomRight);
    for (int bar = 0; bar < 8; ++bar) all = all && shows(2 * bar, chart::kBarsTop + 1, chart::kBars[bar]);
    for (int column = 0; column < chart::kColumns; ++column) {
        all = all && shows(column, chart::kRampTop, chart::RampGrey(column));
    }
    return all;
}

int FrameNumber(const SeenFrame& frame, Bits bits) {
    int number = 0;
    for (int bit = 0; bit < chart::kCounterBits; ++bit) {
        const Pixel seen = PixelAt(frame, bits, chart::CellX(chart::kCounterLeft + bit, frame.width),
                                   chart::CellY(chart::kCounterTop, frame.Rows()));
        number = number * 2 + (::kit::Green(seen) > 127);
    }
    return number;
}

namespace {

void Paint(void* frame, LONG height, LONG width, DWORD stride, bool blackWhite) {
    const LONG rows = height < 0 ? -height : height;
    std::vector<WORD> reds;
    for (LONG x = 0; x < width; ++x) reds.push_back(static_cast<WORD>((x * 31 / width) << 11));
    for (LONG y = 0; y < rows; ++y) {
        BYTE* row = static_cast<BYTE*>(frame) + static_cast<size_t>(height > 0 ? rows - 1 - y : y) * stride;
        const LONG green = (y * 63 / rows) << 5;
        for (LONG x = 0; x < width; ++x) {
            const bool light = ((x / 8 + y / 8) & 1) != 0;
            const auto colored = static_cast<WORD>(reds[static_cast<size_t>(x)] | green | (light ? 31 : 0));
            const WORD pixel = blackWhite ? static_cast<WORD>(light ? 0xFFFF : 0) : colored;
            memcpy(row + 2 * x, &pixel, sizeof pixel);
        }
    }
}

}  // namespace

void PaintPattern(void* frame, DWORD, LONG height, LONG width, DWORD stride) {
    Paint(frame, height, width, stride, false);
}

void PaintBlackWhitePattern(void* frame, DWORD, LONG height, LONG width, DWORD stride) {
    Paint(frame, height, width, stride, true);
}

std::string BmpFile(const SeenFrame& frame) {
    constexpr DWORD kHeaderBytes = 66, kInfoBytes = 40, kBitFields = 3, kPixelsPerMetre = 7559;
    const DWORD bytes = frame.stride * static_cast<DWORD>(frame.Rows());
    std::string file = "BM";
    const auto number = [&](DWORD value, int size) {
        for (int i = 0; i < size; ++i) file += static_cast<char>(value >> 8 * i & 255);
    };
    for (const DWORD value : {kHeaderBytes + bytes, DWORD{0}, kHeaderBytes, kInfoBytes,
                              static_cast<DWORD>(frame.width), static_cast<DWORD>(frame.height)}) {
        number(value, 4);
    }
    number(1, 2);
    number(16, 2);
    for (const DWORD value : {kBitFields, DWORD{0}, kPixelsPerMetre, kPixelsPerMetre, DWORD{0}, DWORD{0},
                              DWORD{0xF800}, DWORD{0x07E0}, DWORD{0x001F}}) {
        number(value, 4);
    }
    file.append(reinterpret_cast<const char*>(frame.bytes.data()), bytes);
    return file;
}

}  // namespace verify
