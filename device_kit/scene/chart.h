// Where everything stands on the test chart, so that whoever looks at a picture of it knows what it must
// show.
#pragma once

#include "scene/picture.h"

namespace kit::chart {

// The chart is a grid of cells, stretched over the picture; a cell's edge is at column * width / kColumns.
constexpr int kColumns = 16;
constexpr int kRows = 12;

// Corner marks of 2 x 2 cells, each of its own colour: a picture that is mirrored or upside down shows them
// elsewhere.
constexpr Pixel kTopLeft = Rgb(255, 0, 0);
constexpr Pixel kTopRight = Rgb(0, 255, 0);
constexpr Pixel kBottomLeft = Rgb(0, 0, 255);
constexpr Pixel kBottomRight = Rgb(255, 255, 255);
constexpr Pixel kBackground = Rgb(32, 32, 48);

// Rows 2 to 5: eight bars, two columns each.
constexpr int kBarsTop = 2, kBarsBottom = 6;
constexpr Pixel kBars[8] = {Rgb(192, 192, 192), Rgb(192, 192, 0), Rgb(0, 192, 192), Rgb(0, 192, 0),
                            Rgb(192, 0, 192),   Rgb(192, 0, 0),   Rgb(0, 0, 192),   Rgb(0, 0, 0)};

// Rows 6 and 7: a ramp of 16 greys, one a column, from black to white.
constexpr int kRampTop = 6, kRampBottom = 8;
constexpr Pixel RampGrey(int column) {
    return Rgb(column * 17, column * 17, column * 17);
}

// Rows 8 and 9: a bar of one column that moves to the right by a quarter of a column a frame.
constexpr int kMotionTop = 8, kMotionBottom = 10;
constexpr Pixel kMotionBackground = Rgb(64, 64, 64);
constexpr Pixel kMotionBar = Rgb(255, 255, 255);

// Rows 10 and 11, columns 2 to 13: the low twelve bits of the frame number, the highest on the left; white
// is 1.
constexpr int kCounterTop = 10, kCounterBottom = 12, kCounterLeft = 2, kCounterBits = 12;
constexpr Pixel kBitSet = Rgb(255, 255, 255);
constexpr Pixel kBitClear = Rgb(0, 0, 0);

// The middle of a cell.
constexpr int CellX(int column, int width) {
    return (2 * column + 1) * width / (2 * kColumns);
}
constexpr int CellY(int row, int height) {
    return (2 * row + 1) * height / (2 * kRows);
}

}  // namespace kit::chart
