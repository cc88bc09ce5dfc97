// Geometry: pixels for a screen's resolution, and where a picture stands in a pane.
#pragma once

#include <windows.h>

namespace camview {

constexpr int kBaseDpi = 96;

// Lengths are given for 96 dots an inch.
inline int Scaled(int length, int dpi) {
    return MulDiv(length, dpi, kBaseDpi);
}

enum class Zoom { Fit, Original };

// The picture in the pane's middle: as large as it can be with its sides in proportion, or pixel for pixel
// (then it may be larger than the pane). A pane or picture of no size gives the pane.
inline RECT PlacePicture(const RECT& pane, SIZE picture, Zoom zoom) {
    const LONG width = pane.right - pane.left, height = pane.bottom - pane.top;
    if (width <= 0 || height <= 0 || picture.cx <= 0 || picture.cy <= 0) return pane;
    SIZE size = picture;
    if (zoom == Zoom::Fit) {
        const bool wide = LONGLONG{picture.cx} * height > LONGLONG{picture.cy} * width;
        size = wide ? SIZE{width, MulDiv(picture.cy, width, picture.cx)}
                    : SIZE{MulDiv(picture.cx, height, picture.cy), height};
    }
    const LONG left = pane.left + (width - size.cx) / 2, top = pane.top + (height - size.cy) / 2;
    return {left, top, left + size.cx, top + size.cy};
}

}  // namespace camview
