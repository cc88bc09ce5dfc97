// A grey picture in memory: one byte a pixel, rows from the top down without padding.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace imvoxa {

struct GreyPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    GreyPicture(int columns, int rows)
        : width(columns),
          height(rows),
          pixels(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)) {}

    std::uint8_t* Row(int y) {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }

    // Calls paint(pixel) for each pixel of the box, which is clipped to the picture.
    template <typename PixelPaint>
    void Paint(int left, int top, int right, int bottom, PixelPaint paint) {
        left = std::max(left, 0);
        right = std::min(right, width);
        for (int y = std::max(top, 0); y < std::min(bottom, height); ++y) {
            std::uint8_t* row = Row(y);
            for (int x = left; x < right; ++x) paint(row[x]);
        }
    }

    void Fill(int left, int top, int right, int bottom, std::uint8_t grey) {
        Paint(left, top, right, bottom, [grey](std::uint8_t& pixel) { pixel = grey; });
    }
};

}  // namespace imvoxa
