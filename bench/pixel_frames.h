// Frames to convert and to encode, with what a photograph has: smooth areas, edges and noise.
#pragma once

#include <cstdint>
#include <vector>

namespace cam::bench {

using Bytes = std::vector<std::uint8_t>;

struct Size {
    int width, height;
};

Bytes MakeYuy2(Size size);
Bytes MakeRgb565(Size size);
// As an adaptive threshold leaves it: 0 and 255 in patches.
Bytes MakeBlackAndWhite(Size size);
// The same pixels, three bytes each.
Bytes Rgb888Of(const Bytes& rgb565);

}  // namespace cam::bench
