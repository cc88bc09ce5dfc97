#include "pixel_frames.h"

#include "still/pixels/pixel_convert.h"

namespace cam::bench {
namespace {

// A byte of the scene: slow shades, blocks with hard edges, and three bits of noise.
int Shade(int x, int y, std::uint32_t& noise) {
    noise = noise * 1664525 + 1013904223;
    const int slow = (x * 3 + y * 2) / 16 % 160;
    const int block = ((x / 96) ^ (y / 64)) % 3 * 30;
    return 16 + slow + block % 60 + static_cast<int>(noise >> 29);
}

}  // namespace

Bytes MakeYuy2(Size size) {
    Bytes frame;
    frame.reserve(static_cast<std::size_t>(size.width) * size.height * 2);
    std::uint32_t noise = 1;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            frame.push_back(static_cast<std::uint8_t>(Shade(x, y, noise)));
            frame.push_back(static_cast<std::uint8_t>(128 + (x % 2 ? y : x) / 40 % 64 - 32));
        }
    }
    return frame;
}

Bytes MakeRgb565(Size size) {
    Bytes frame = MakeYuy2(size);
    still::Yuy2ToRgb565({frame, size.width, size.height, static_cast<std::uint32_t>(size.width) * 2});
    return frame;
}

Bytes MakeBlackAndWhite(Size size) {
    Bytes grey;
    grey.reserve(static_cast<std::size_t>(size.width) * size.height);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) grey.push_back((x / 7 + y / 11) % 5 == 0 ? 0 : 255);
    }
    return grey;
}

Bytes Rgb888Of(const Bytes& rgb565) {
    Bytes rgb(rgb565.size() / 2 * 3);
    still::kPlainPixelKernels.rgb565RowToRgb888(rgb.data(), rgb565.data(), rgb565.size() / 2);
    return rgb;
}

}  // namespace cam::bench
