#include "scene/chart.h"
#include "scene/scene.h"

#include <algorithm>

namespace kit {
namespace {

// Segments of a digit in the order top, upper right, lower right, bottom, lower left, upper left, middle
// (lowest bit first).
constexpr unsigned char kSegments[10] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F};

class ChartScene final : public Scene {
  public:
    const Picture& Frame(unsigned number, int width, int height) override {
        if (width != picture.width || height != picture.height) DrawStill(width, height);
        DrawMoving(number);
        return picture;
    }

  private:
    int X(int column) const { return column * picture.width / chart::kColumns; }
    int Y(int row) const { return row * picture.height / chart::kRows; }
    void Cells(int left, int top, int right, int bottom, Pixel color) {
        picture.Fill(X(left), Y(top), X(right), Y(bottom), color);
    }

    void DrawStill(int width, int height) {
        using namespace chart;
        picture.Resize(width, height);
        Cells(0, 0, kColumns, kRows, kBackground);
        Cells(0, 0, 2, 2, kTopLeft);
        Cells(kColumns - 2, 0, kColumns, 2, kTopRight);
        Cells(0, kRows - 2, 2, kRows, kBottomLeft);
        Cells(kColumns - 2, kRows - 2, kColumns, kRows, kBottomRight);
        for (int bar = 0; bar < 8; ++bar) Cells(2 * bar, kBarsTop, 2 * bar + 2, kBarsBottom, kBars[bar]);
        for (int column = 0; column < kColumns; ++column)
            Cells(column, kRampTop, column + 1, kRampBottom, RampGrey(column));
    }

    void DrawMoving(unsigned number) {
        using namespace chart;
        Cells(0, kMotionTop, kColumns, kMotionBottom, kMotionBackground);
        const unsigned quarters = number % (4 * kColumns);
        const int left = static_cast<int>(quarters) * picture.width / (4 * kColumns);
        picture.Fill(left, Y(kMotionTop), left + X(1), Y(kMotionBottom), kMotionBar);
        for (int bit = 0; bit < kCounterBits; ++bit) {
            const bool set = number >> (kCounterBits - 1 - bit) & 1;
            Cells(kCounterLeft + bit, kCounterTop, kCounterLeft + bit + 1, kCounterBottom,
                  set ? kBitSet : kBitClear);
        }
        Cells(2, 0, kColumns - 2, 2, kBackground);
        for (int digit = 0; digit < 6; ++digit, number /= 10) DrawDigit(X(12 - 2 * digit), X(1), number % 10);
    }

    void DrawDigit(int left, int width, unsigned digit) {
        const Pixel color = Rgb(255, 192, 0);
        const int top = Y(2) / 8, bottom = Y(2) - top, middle = (top + bottom) / 2;
        const int line = std::max(1, width / 6), right = left + width;
        const auto segment = [&](int index, int x0, int y0, int x1, int y1) {
            if (kSegments[digit] >> index & 1) picture.Fill(x0, y0, x1, y1, color);
        };
        segment(0, left, top, right, top + line);
        segment(1, right - line, top, right, middle);
        segment(2, right - line, middle, right, bottom);
        segment(3, left, bottom - line, right, bottom);
        segment(4, left, middle, left + line, bottom);
        segment(5, left, top, left + line, middle);
        segment(6, left, middle - line / 2, right, middle - line / 2 + line);
    }

    Picture picture;
};

}  // namespace

std::unique_ptr<Scene> OpenChart() {
    return std::make_unique<ChartScene>();
}

}  // namespace kit
