#include "format.h"

namespace kit {

namespace {

using Word = std::uint16_t;

void PackRow555(const Pixel* in, int width, Word* out) {
    for (int x = 0; x < width; ++x)
        out[x] = static_cast<Word>((in[x] >> 9 & 0x7C00) | (in[x] >> 6 & 0x03E0) | (in[x] >> 3 & 0x001F));
}

void PackRow565(const Pixel* in, int width, Word* out) {
    for (int x = 0; x < width; ++x)
        out[x] = static_cast<Word>((in[x] >> 8 & 0xF800) | (in[x] >> 5 & 0x07E0) | (in[x] >> 3 & 0x001F));
}

// BT.601, studio range (luma 16 to 235).
std::uint8_t Luma(Pixel pixel) {
    return static_cast<std::uint8_t>(((66 * Red(pixel) + 129 * Green(pixel) + 25 * Blue(pixel) + 128) >> 8) +
                                     16);
}

// Two pixels share their chroma; the last pixel of an odd row is its own neighbour.
void PackRowYuy2(const Pixel* in, int width, std::uint8_t* out) {
    for (int x = 0; x < width; x += 2, out += 4) {
        const Pixel left = in[x], right = x + 1 < width ? in[x + 1] : in[x];
        const int red = Red(left) + Red(right), green = Green(left) + Green(right),
                  blue = Blue(left) + Blue(right);
        out[0] = Luma(left);
        out[1] = static_cast<std::uint8_t>(((-38 * red - 74 * green + 112 * blue + 256) >> 9) + 128);
        out[2] = Luma(right);
        out[3] = static_cast<std::uint8_t>(((112 * red - 94 * green - 18 * blue + 256) >> 9) + 128);
    }
}

}  // namespace

void Pack(const Picture& picture, const Format& format, std::uint8_t* sample) {
    const cam::Frame frame = {{sample, static_cast<std::size_t>(format.SampleSize())},
                              format.width,
                              format.topDown ? -format.height : format.height,
                              static_cast<std::uint32_t>(format.Stride())};
    for (int y = 0; y < format.height; ++y) {
        std::uint8_t* out = frame.Row(static_cast<std::uint32_t>(y)).data();
        const Pixel* in = picture.Row(y);
        if (format.layout == Layout::Yuy2) {
            PackRowYuy2(in, format.width, out);
            continue;
        }
        auto* words = reinterpret_cast<Word*>(out);
        if (format.layout == Layout::Rgb555) {
            PackRow555(in, format.width, words);
        } else {
            PackRow565(in, format.width, words);
        }
        if (format.width % 2 != 0) words[format.width] = 0;
    }
}

}  // namespace kit
