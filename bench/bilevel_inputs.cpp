#include "bilevel_inputs.h"

#include <math.h>
#include <stdio.h>

#include <algorithm>
#include <random>

#include "tiff/adaptive_threshold.h"

namespace cam::bench {
namespace {

uint8_t Clamp(double value) {
    return static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
}

// Luma of a frame of a YUV 4:2:0 film; empty when there is none.
struct Frame {
    uint32_t width = 0, rows = 0;
    std::vector<uint8_t> luma;
    uint8_t At(uint32_t x, uint32_t y) const {
        return luma[size_t{std::min(y, rows - 1)} * width + std::min(x, width - 1)];
    }
};

Frame ReadFilmFrame(const std::string& film, uint32_t index) {
    Frame frame;
    FILE* file = fopen(film.c_str(), "rb");
    if (!file) return frame;
    if (fscanf(file, "YUV4MPEG2 W%u H%u", &frame.width, &frame.rows) == 2) {
        while (fgetc(file) != '\n') {
        }
        const size_t lumaSize = size_t{frame.width} * frame.rows;
        const size_t frameSize = 6 + lumaSize * 3 / 2;
        frame.luma.resize(lumaSize);
        fseek(file, static_cast<long>(frameSize * index + 6), SEEK_CUR);
        if (fread(frame.luma.data(), 1, lumaSize, file) != lumaSize) frame.luma.clear();
    }
    fclose(file);
    return frame;
}

using Random = std::mt19937;

double Noise(Random& random, double sigma) {
    // The sum of four bytes is near enough to a bell.
    const uint32_t r = random();
    const int sum = static_cast<int>((r & 255) + (r >> 8 & 255) + (r >> 16 & 255) + (r >> 24)) - 510;
    return sum * sigma / 148;
}

// A photograph of `size`: a film frame scaled up, with the noise of a sensor.
std::vector<uint8_t> Photograph(Size size, uint32_t index, const std::string& film, Random& random) {
    const Frame frame = ReadFilmFrame(film, index * 13 % 110);
    std::vector<uint8_t> grey(size_t{size.width} * size.rows);
    for (uint32_t y = 0; y < size.rows; ++y) {
        for (uint32_t x = 0; x < size.width; ++x) {
            double value;
            if (frame.luma.empty()) {
                value = 128 + 70 * sin(x * 0.011 + index) * cos(y * 0.017) +
                        40 * sin((x + 2.0 * y) * 0.043 + index);
            } else {
                const double u = x * (frame.width - 1.0) / size.width, v = y * (frame.rows - 1.0) / size.rows;
                const auto i = static_cast<uint32_t>(u), j = static_cast<uint32_t>(v);
                const double a = u - i, b = v - j;
                value = (frame.At(i, j) * (1 - a) + frame.At(i + 1, j) * a) * (1 - b) +
                        (frame.At(i, j + 1) * (1 - a) + frame.At(i + 1, j + 1) * a) * b;
            }
            grey[size_t{y} * size.width + x] = Clamp(value + Noise(random, 2.5));
        }
    }
    return grey;
}

// A page of made-up writing under light that falls off towards one corner, a little out of focus.
std::vector<uint8_t> Page(Size size, uint32_t index, Random& random) {
    const double scale = std::max(1.0, size.width / 900.0);  // pixels to a stroke's width
    std::vector<uint8_t> ink(size_t{size.width} * size.rows);
    const auto letters = random();
    for (uint32_t y = 0; y < size.rows; ++y) {
        for (uint32_t x = 0; x < size.width; ++x) {
            const auto u = static_cast<uint32_t>(x / scale), v = static_cast<uint32_t>(y / scale);
            const uint32_t line = v / 18, letter = u / 9, row = v % 18, column = u % 9;
            if (row > 10 || column > 6 || u < 40 || u > 850 || (line + index) % 7 == 0) continue;
            const uint32_t hash = (letter * 2654435761u ^ line * 40503u ^ letters) * 2246822519u >> 7;
            if (hash % 6 == 0) continue;  // between two words
            const bool black = (column < 2 && hash & 64) || (column > 4 && row > 3 && hash & 128) ||
                               (row < 2 && hash & 256) || (row > 3 && row < 6 && hash & 512) ||
                               (row > 8 && hash & 1024) || (column == row / 2 && hash & 2048);
            ink[size_t{y} * size.width + x] = black;
        }
    }
    std::vector<uint8_t> grey(ink.size());
    for (uint32_t y = 0; y < size.rows; ++y) {
        for (uint32_t x = 0; x < size.width; ++x) {
            int coverage = 0;
            for (uint32_t v = y > 0 ? y - 1 : 0; v <= std::min(y + 1, size.rows - 1); ++v) {
                for (uint32_t u = x > 0 ? x - 1 : 0; u <= std::min(x + 1, size.width - 1); ++u) {
                    coverage += ink[size_t{v} * size.width + u];
                }
            }
            const double light = 215 - 110.0 * (x + y) / (size.width + size.rows);
            grey[size_t{y} * size.width + x] = Clamp(light * (1 - 0.085 * coverage) + Noise(random, 2));
        }
    }
    return grey;
}

// The photograph as a printed screen of dots.
std::vector<uint8_t> Halftone(Size size, uint32_t index, const std::string& film, Random& random) {
    std::vector<uint8_t> grey = Photograph(size, index, film, random);
    for (uint32_t y = 0; y < size.rows; ++y) {
        for (uint32_t x = 0; x < size.width; ++x) {
            const double dot = 128 + 62 * (cos((x + y) * 0.785) + cos((static_cast<double>(x) - y) * 0.785));
            uint8_t& pixel = grey[size_t{y} * size.width + x];
            pixel = Clamp((pixel > dot ? 210 : 50) + Noise(random, 6));
        }
    }
    return grey;
}

std::vector<uint8_t> MakeGrey(Content content, Size size, uint32_t index, const std::string& film) {
    Random random(index * 7919 + static_cast<uint32_t>(content));
    switch (content) {
        case Content::Page:
            return Page(size, index, random);
        case Content::Photograph:
            return Photograph(size, index, film, random);
        case Content::Halftone:
            return Halftone(size, index, film, random);
        case Content::RandomBits:
            break;
    }
    std::vector<uint8_t> grey(size_t{size.width} * size.rows);
    for (uint8_t& pixel : grey) pixel = random() & 1 ? 255 : 0;
    return grey;
}

}  // namespace

const char* ContentName(Content content) {
    switch (content) {
        case Content::Page:
            return "page";
        case Content::Photograph:
            return "photograph";
        case Content::Halftone:
            return "halftone";
        case Content::RandomBits:
            return "random bits";
    }
    return "";
}

std::vector<Picture> MakePictures(Content content, Size size, uint32_t count, const std::string& film) {
    std::vector<Picture> pictures;
    for (uint32_t index = 0; index < count; ++index) {
        Picture picture{size, MakeGrey(content, size, index, film), {}, {}};
        picture.yuy2.resize(picture.grey.size() * 2, 128);
        for (size_t i = 0; i < picture.grey.size(); ++i) picture.yuy2[2 * i] = picture.grey[i];
        std::vector<uint8_t> plane = picture.grey;
        tiff::AdaptiveThreshold(plane, size.width, static_cast<int32_t>(size.rows), kThresholdRatio);
        picture.raster.resize(size_t{size.width / 8} * size.rows);
        for (size_t i = 0; i < plane.size(); ++i) {
            if (!plane[i]) picture.raster[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
        }
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

}  // namespace cam::bench
