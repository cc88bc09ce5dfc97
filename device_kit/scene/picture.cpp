#include "scene/picture.h"

#include <algorithm>

namespace kit {

void Picture::Fill(int left, int top, int right, int bottom, Pixel color) {
    left = std::max(left, 0);
    right = std::min(right, width);
    for (int y = std::max(top, 0); y < std::min(bottom, height); ++y) {
        if (left < right) std::fill(Row(y) + left, Row(y) + right, color);
    }
}

void Scale(const Picture& source, Picture& target) {
    for (int y = 0; y < target.height; ++y) {
        const int top = static_cast<int>(static_cast<long long>(y) * source.height / target.height);
        const int bottom = std::max(
            top + 1, static_cast<int>(static_cast<long long>(y + 1) * source.height / target.height));
        Pixel* out = target.Row(y);
        for (int x = 0; x < target.width; ++x) {
            const int left = static_cast<int>(static_cast<long long>(x) * source.width / target.width);
            const int right = std::max(
                left + 1, static_cast<int>(static_cast<long long>(x + 1) * source.width / target.width));
            unsigned red = 0, green = 0, blue = 0;
            for (int sourceY = top; sourceY < bottom; ++sourceY) {
                const Pixel* in = source.Row(sourceY);
                for (int sourceX = left; sourceX < right; ++sourceX) {
                    red += static_cast<unsigned>(Red(in[sourceX]));
                    green += static_cast<unsigned>(Green(in[sourceX]));
                    blue += static_cast<unsigned>(Blue(in[sourceX]));
                }
            }
            const unsigned count = static_cast<unsigned>((right - left) * (bottom - top));
            out[x] = red / count << 16 | green / count << 8 | blue / count;
        }
    }
}

}  // namespace kit
