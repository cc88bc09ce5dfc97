#include "frames.h"

#include <cstdlib>
#include <cstring>

FrameCatcher previewFrames;
FrameCatcher stillFrames;

namespace {

struct Color {
    int red, green, blue;  // 0 to 255
};

Color ToColor(WORD pixel, Layout layout) {
    if (layout == Layout::kRgb555) {
        return {(pixel >> 10 & 31) * 255 / 31, (pixel >> 5 & 31) * 255 / 31, (pixel & 31) * 255 / 31};
    }
    return {(pixel >> 11 & 31) * 255 / 31, (pixel >> 5 & 63) * 255 / 63, (pixel & 31) * 255 / 31};
}

// Room for the rounding to five bits, for the conversion from YUY2 and for the colour that this shares
// between two pixels.
constexpr int kTolerance = 40;

bool Near(WORD pixel, Layout layout, const Color& wanted) {
    const Color color = ToColor(pixel, layout);
    return abs(color.red - wanted.red) < kTolerance && abs(color.green - wanted.green) < kTolerance &&
           abs(color.blue - wanted.blue) < kTolerance;
}

WORD Cell(const Frame& frame, int column, int row) {
    const int height = abs(frame.height);
    return frame.At(kit::chart::CellX(column, frame.width), kit::chart::CellY(row, height));
}

}  // namespace

WORD Frame::At(int x, int y) const {
    const int row = height > 0 ? height - 1 - y : y;
    WORD pixel;
    memcpy(&pixel, bytes.data() + static_cast<size_t>(row) * stride + static_cast<size_t>(x) * sizeof pixel,
           sizeof pixel);
    return pixel;
}

void FrameCatcher::Reset(size_t keep) {
    frames_.clear();
    frames_.reserve(keep);
    keep_ = keep;
    count_ = 0;
}

void FrameCatcher::Catch(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    if (frames_.size() < keep_) {
        const auto* bytes = static_cast<const BYTE*>(frame);
        frames_.push_back({size, height, width, stride, {bytes, bytes + size}});
    }
    ++count_;
}

void WINAPI CatchPreview(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    previewFrames.Catch(frame, size, height, width, stride);
}

void WINAPI CatchStill(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    stillFrames.Catch(frame, size, height, width, stride);
}

bool ShowsChart(const Frame& frame, Layout layout) {
    using namespace kit::chart;
    auto shows = [&](int column, int row, kit::Pixel pixel) {
        return Near(Cell(frame, column, row), layout, {kit::Red(pixel), kit::Green(pixel), kit::Blue(pixel)});
    };
    bool all = shows(0, 0, kTopLeft) && shows(kColumns - 1, 0, kTopRight) &&
               shows(0, kRows - 1, kBottomLeft) && shows(kColumns - 1, kRows - 1, kBottomRight);
    for (int bar = 0; bar < 8; ++bar) all = all && shows(2 * bar, kBarsTop + 1, kBars[bar]);
    return all;
}

int FrameNumber(const Frame& frame, Layout layout) {
    using namespace kit::chart;
    int number = 0;
    for (int bit = 0; bit < kCounterBits; ++bit) {
        const WORD pixel = Cell(frame, kCounterLeft + bit, kCounterTop);
        number = number * 2 + (ToColor(pixel, layout).green > 127);
    }
    return number;
}
