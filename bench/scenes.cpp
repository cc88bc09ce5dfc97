#include "scenes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#ifdef CAM_HAVE_PNG
#include <png.h>
#endif

namespace cam::bench {
namespace {

struct Rgb {
    double red, green, blue;
    Rgb operator+(double more) const { return {red + more, green + more, blue + more}; }
    Rgb operator*(double by) const { return {red * by, green * by, blue * by}; }
};

std::uint32_t Hash(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    std::uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u) * 0x85EBCA77u ^ (c + 0x165667B1u) * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    return h ^ h >> 15;
}

// 0 to 1.
double Unit(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    return Hash(a, b, c) * (1.0 / 4294967296.0);
}

// Random values on a grid, smooth between them.
double ValueNoise(double x, double y, std::uint32_t seed) {
    const auto i = static_cast<std::uint32_t>(x), j = static_cast<std::uint32_t>(y);
    const double a = x - i, b = y - j;
    const double u = a * a * (3 - 2 * a), v = b * b * (3 - 2 * b);
    const double top = Unit(i, j, seed) * (1 - u) + Unit(i + 1, j, seed) * u;
    const double bottom = Unit(i, j + 1, seed) * (1 - u) + Unit(i + 1, j + 1, seed) * u;
    return top * (1 - v) + bottom * v;
}

// Of a sensor: the sum of four bytes is near enough to a bell.
double SensorNoise(std::uint32_t x, std::uint32_t y, std::uint32_t seed, double sigma) {
    const std::uint32_t r = Hash(x, y, seed);
    const int sum = static_cast<int>((r & 255) + (r >> 8 & 255) + (r >> 16 & 255) + (r >> 24)) - 510;
    return sum * sigma / 148;
}

Rgb Landscape(std::uint32_t x, std::uint32_t y, Size size, std::uint32_t seed) {
    const double u = 8.0 * x / size.width, v = 6.0 * y / size.width;
    double shade = 0, weight = 0.5;
    for (std::uint32_t octave = 0; octave < 5; ++octave, weight /= 2) {
        const double scale = 1 << octave;
        shade += weight * ValueNoise(u * scale, v * scale, seed + octave);
    }
    // Things with hard edges, each of a colour of its own.
    const double thing = ValueNoise(u * 1.5, v * 1.5, seed + 77);
    const auto kind = static_cast<std::uint32_t>(thing * 9);
    const double hue = Unit(kind, seed, 5), other = Unit(kind, seed, 6);
    const double base = 40 + 170 * shade;
    return {base * (0.7 + 0.5 * hue), base * (0.8 + 0.3 * other), base * (1.2 - 0.5 * hue)};
}

double NoiseLevel(std::uint32_t seed) {
    constexpr double kLevels[] = {2, 0.7, 5};
    return kLevels[seed % 3];
}

// Made-up writing: letters of 5 x 7 strokes in lines, words of several lengths.
bool IsInk(double x, double y, std::uint32_t seed) {
    const auto column = static_cast<std::uint32_t>(x), row = static_cast<std::uint32_t>(y);
    const std::uint32_t letter = column / 6, line = row / 11;
    if (column % 6 == 5 || row % 11 >= 7 || line % 9 == 8 || Unit(letter / 2, line, seed) < 0.12)
        return false;
    const std::uint32_t shape = Hash(letter, line, seed + 1) % 40;  // of an alphabet
    return Hash(shape * 64 + row % 11 * 8 + column % 6, seed, 3) % 100 < 42;
}

double StrokePixels(Size size) {
    return std::max(1.0, size.width / 640.0);
}

Rgb Page(std::uint32_t x, std::uint32_t y, Size size, std::uint32_t seed) {
    const double stroke = StrokePixels(size);
    int covered = 0;
    for (int part = 0; part < 9; ++part) {  // a little out of focus
        covered += IsInk((x + part % 3 * 0.7) / stroke, (y + part / 3 * 0.7) / stroke, seed);
    }
    const double light = 220 - 100.0 * (x + y) / (size.width + size.height);
    const double value = light * (1 - 0.09 * covered) + SensorNoise(x, y, seed, 2);
    return {value, value * 0.98, value * 0.92};
}

Rgb Chart(std::uint32_t x, std::uint32_t y, Size size) {
    const auto width = static_cast<std::uint32_t>(size.width),
               height = static_cast<std::uint32_t>(size.height);
    const std::uint32_t bar = 8 * x / width;
    if (y < height / 2) return {bar & 1 ? 0.0 : 255.0, bar & 2 ? 0.0 : 255.0, bar & 4 ? 0.0 : 255.0};
    if (y < height * 3 / 4) {
        const bool line = x % 20 == 0 || y % 20 == 0;
        return line ? Rgb{0, 0, 0} : Rgb{192, 192, 192};
    }
    const double step = 16 * x / width * 17;
    return {step, step, step};
}

Rgb Screen(std::uint32_t x, std::uint32_t y, Size size, std::uint32_t seed) {
    Rgb colour = {58, 110, 165};
    for (std::uint32_t window = 0; window < 5; ++window) {
        const auto part = [&](std::uint32_t n, int whole) {
            return static_cast<std::uint32_t>(Unit(window, n, seed) * whole);
        };
        const std::uint32_t left = part(0, size.width * 2 / 3), top = part(1, size.height * 2 / 3);
        const std::uint32_t width = 120 + part(2, size.width / 2), height = 90 + part(3, size.height / 2);
        if (x < left || y < top || x >= left + width || y >= top + height) continue;
        const std::uint32_t column = x - left, row = y - top;
        const bool edge = column < 2 || row < 2 || column + 2 >= width || row + 2 >= height;
        const bool title = row < 22;
        const bool inside = column > 8 && row > 30 && column + 8 < width && row + 8 < height;
        if (edge) {
            colour = {212, 208, 200};
        } else if (title) {
            colour = IsInk(column, row - 7u + 11, seed + window) && row >= 7 && row < 14 && column < width / 2
                         ? Rgb{255, 255, 255}
                         : Rgb{10, 36, 106 + 100.0 * column / width};
        } else {
            colour = inside && IsInk(column, row, seed + window) ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
        }
    }
    return colour;
}

Rgb PixelOf(Scene scene, std::uint32_t x, std::uint32_t y, Size size, std::uint32_t seed) {
    switch (scene) {
        case Scene::Page:
            return Page(x, y, size, seed);
        case Scene::Grey: {
            const double grey = Landscape(x, y, size, seed).green + SensorNoise(x, y, seed, NoiseLevel(seed));
            return {grey, grey, grey};
        }
        case Scene::Gradient: {
            const double across = 1.0 * x / size.width, down = 1.0 * y / size.height;
            return {255 * across, 255 * down, 127 * (1 - across) + 127 * down};
        }
        case Scene::Chart:
            return Chart(x, y, size);
        case Scene::Screen:
            return Screen(x, y, size, seed);
        case Scene::Text: {
            const double stroke = StrokePixels(size);
            return IsInk(x / stroke, y / stroke, seed) ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
        }
        case Scene::Halftone: {
            const double dot = 128 + 62 * (std::cos((x + y) * 0.785) + std::cos((1.0 * x - y) * 0.785));
            return Landscape(x, y, size, seed).green > dot ? Rgb{255, 255, 255} : Rgb{0, 0, 0};
        }
        default:
            return Landscape(x, y, size, seed) + SensorNoise(x, y, seed, NoiseLevel(seed));
    }
}

std::uint16_t WordOf(const Rgb& colour) {
    const auto part = [](double value) { return static_cast<unsigned>(std::clamp(value, 0.0, 255.0)); };
    return static_cast<std::uint16_t>(part(colour.red) >> 3 << 11 | part(colour.green) >> 2 << 5 |
                                      part(colour.blue) >> 3);
}

// A picture as it is stored, red, green and blue for each pixel.
struct Stored {
    std::uint32_t width = 0, height = 0;
    Bytes rgb;

    Rgb At(std::uint32_t x, std::uint32_t y) const {
        const std::uint8_t* pixel =
            &rgb[3 * (std::size_t{std::min(y, height - 1)} * width + std::min(x, width - 1))];
        return {1.0 * pixel[0], 1.0 * pixel[1], 1.0 * pixel[2]};
    }
    Rgb Between(double x, double y) const {
        const auto i = static_cast<std::uint32_t>(x), j = static_cast<std::uint32_t>(y);
        const double a = x - i, b = y - j;
        const auto mix = [](const Rgb& one, const Rgb& two, double share) {
            const Rgb first = one * (1 - share), second = two * share;
            return Rgb{first.red + second.red, first.green + second.green, first.blue + second.blue};
        };
        return mix(mix(At(i, j), At(i + 1, j), a), mix(At(i, j + 1), At(i + 1, j + 1), a), b);
    }
};

Stored ReadPhotograph() {
    Stored stored;
#ifdef CAM_HAVE_PNG
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, "build/media/photo.png")) return stored;
    image.format = PNG_FORMAT_RGB;
    stored.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, stored.rgb.data(), 0, nullptr)) {
        stored.width = image.width;
        stored.height = image.height;
    }
#endif
    return stored;
}

Stored ReadFilm(std::uint32_t index) {
    Stored stored;
    FILE* const file = std::fopen("build/media/film.y4m", "rb");
    if (!file) return stored;
    std::uint32_t width = 0, height = 0;
    if (std::fscanf(file, "YUV4MPEG2 W%u H%u", &width, &height) == 2) {
        while (std::fgetc(file) != '\n') {
        }
        const std::size_t samples = std::size_t{width} * height;
        Bytes planes(samples * 3 / 2);
        std::fseek(file, static_cast<long>((6 + planes.size()) * index + 6), SEEK_CUR);
        if (std::fread(planes.data(), 1, planes.size(), file) == planes.size()) {
            stored = {width, height, Bytes(samples * 3)};
            for (std::size_t i = 0; i < samples; ++i) {
                const std::size_t chroma = samples + i / width / 2 * (width / 2) + i % width / 2;
                const double luma = 1.164 * (planes[i] - 16);
                const double u = planes[chroma] - 128, v = planes[chroma + samples / 4] - 128;
                const double parts[] = {luma + 1.596 * v, luma - 0.392 * u - 0.813 * v, luma + 2.017 * u};
                for (std::size_t c = 0; c < 3; ++c)
                    stored.rgb[3 * i + c] = static_cast<std::uint8_t>(std::clamp(parts[c], 0.0, 255.0));
            }
        }
    }
    std::fclose(file);
    return stored;
}

}  // namespace

Bytes MakeScene(Scene scene, Size size, std::uint32_t seed) {
    Stored stored;
    if (scene == Scene::Photograph) stored = ReadPhotograph();
    if (scene == Scene::Film) stored = ReadFilm(seed * 13 % 110);
    const bool isStored = scene == Scene::Photograph || scene == Scene::Film;
    if (isStored && stored.width == 0) return {};
    const double scale =
        isStored ? std::max(1.0 * size.width / stored.width, 1.0 * size.height / stored.height) : 1;
    Bytes words;
    words.reserve(std::size_t{2} * static_cast<std::size_t>(size.width) *
                  static_cast<std::size_t>(size.height));
    for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(size.height); ++y) {
        for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(size.width); ++x) {
            const Rgb colour = !isStored   ? PixelOf(scene, x, y, size, seed)
                               : scale > 1 ? stored.Between(x / scale, y / scale) + SensorNoise(x, y, seed, 2)
                                           : stored.At(x, y);
            const std::uint16_t word = WordOf(colour);
            words.push_back(static_cast<std::uint8_t>(word));
            words.push_back(static_cast<std::uint8_t>(word >> 8));
        }
    }
    return words;
}

}  // namespace cam::bench
