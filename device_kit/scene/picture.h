// A picture in memory, as scenes make it and as the camera's pins pack it into samples.
#pragma once

#include <cstdint>
#include <vector>

namespace kit {

using Pixel = std::uint32_t;  // 0x00RRGGBB

constexpr Pixel Rgb(int red, int green, int blue) {
    return static_cast<Pixel>(red) << 16 | static_cast<Pixel>(green) << 8 | static_cast<Pixel>(blue);
}
constexpr int Red(Pixel pixel) {
    return pixel >> 16 & 255;
}
constexpr int Green(Pixel pixel) {
    return pixel >> 8 & 255;
}
constexpr int Blue(Pixel pixel) {
    return pixel & 255;
}

constexpr int Clamp255(int value) {
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

// Rows from the top down, without padding.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;

    void Resize(int newWidth, int newHeight) {
        width = newWidth;
        height = newHeight;
        pixels.resize(static_cast<std::size_t>(newWidth) * static_cast<std::size_t>(newHeight));
    }
    Pixel* Row(int y) {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    const Pixel* Row(int y) const {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
    void Fill(int left, int top, int right, int bottom, Pixel color);  // clipped
};

// `source` in the size of `target`: every target pixel is the mean of the source pixels it covers, or the
// nearest one when the picture grows.
void Scale(const Picture& source, Picture& target);

}  // namespace kit
