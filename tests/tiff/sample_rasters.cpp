#include "tiff/sample_rasters.h"

#include <math.h>

namespace cam::test {
namespace {

template <typename IsBlack>
Raster Paint(const char* kind, uint32_t width, uint32_t rows, IsBlack isBlack) {
    Raster raster(std::string(kind) + " " + std::to_string(width) + "x" + std::to_string(rows), width, rows);
    for (uint32_t y = 0; y < rows; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            if (isBlack(x, y)) raster.SetBlack(x, y);
        }
    }
    return raster;
}

Raster Noise(uint32_t width, uint32_t rows, uint32_t percent, uint32_t seed) {
    Random random(seed);
    return Paint("noise", width, rows, [&](uint32_t, uint32_t) { return random.Below(100) < percent; });
}

// Lines of made-up letters: strokes on a grid of five by seven, two pixels thick.
Raster Text(uint32_t width, uint32_t rows, uint32_t seed) {
    return Paint("text", width, rows, [&](uint32_t x, uint32_t y) {
        const uint32_t column = x / 2 % 7;
        const uint32_t row = y / 2 % 11;
        if (column > 4 || row > 6) return false;
        Random letter(seed + x / 14 * 31 + y / 22 * 1009);
        if (letter.Below(6) == 0) return false;  // the gap between two words
        const uint32_t strokes = letter.Next();
        return (column == 0 && strokes & 1) || (column == 4 && strokes & 2) || (row == 0 && strokes & 4) ||
               (row == 3 && strokes & 8) || (row == 6 && strokes & 16) || (column == row / 2 && strokes & 32);
    });
}

// Waves of grey through an ordered dither.
Raster Halftone(uint32_t width, uint32_t rows, uint32_t seed) {
    constexpr int kOrder[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    return Paint("halftone", width, rows, [&](uint32_t x, uint32_t y) {
        const double grey = 8 + 8 * sin(x * 0.031 + seed) * cos(y * 0.023 + seed * 0.7);
        return grey > kOrder[y % 4][x % 4];
    });
}

// Rows of a fine comb between blank ones: what codes worst.
Raster Comb(uint32_t width, uint32_t rows, uint32_t period, uint32_t blankEvery) {
    return Paint("comb", width, rows, [&](uint32_t x, uint32_t y) {
        return x % period < (period + 1) / 2 && (blankEvery == 0 || y % blankEvery != 0);
    });
}

// Slanted edges, which move by up to five pixels a row: every vertical code and its neighbours.
Raster Slants(uint32_t width, uint32_t rows, uint32_t seed) {
    Random random(seed);
    std::vector<uint32_t> edges;
    for (uint32_t i = 0; i < width / 12 + 1; ++i) edges.push_back(random.Below(width));
    Raster raster = Paint("slants", width, rows, [](uint32_t, uint32_t) { return false; });
    for (uint32_t y = 0; y < rows; ++y) {
        std::vector<bool> flips(width);
        for (uint32_t& edge : edges) {
            edge = (edge + width + random.Below(11) - 5) % width;
            flips[edge] = !flips[edge];
        }
        bool black = false;
        for (uint32_t x = 0; x < width; ++x) {
            black ^= flips[x];
            if (black) raster.SetBlack(x, y);
        }
    }
    return raster;
}

// Runs of the lengths at which the make-up codes change.
Raster LongRuns(uint32_t width, uint32_t rows, uint32_t seed) {
    constexpr uint32_t kLengths[] = {1,    2,    63,   64,   65,   127,  128,  1727, 1728, 1791,
                                     1792, 2495, 2559, 2560, 2561, 2623, 2624, 5120, 5184, 7700};
    Random random(seed);
    uint32_t end = 0;
    bool black = true;
    return Paint("long runs", width, rows, [&](uint32_t x, uint32_t) {
        if (x == 0) end = 0, black = random.Below(2) != 0;
        if (x == end) {
            black = !black;
            end = x + kLengths[random.Below(sizeof kLengths / sizeof *kLengths)];
        }
        return black;
    });
}

}  // namespace

std::vector<Raster> SampleRasters() {
    std::vector<Raster> all;
    uint32_t seed = 1;
    for (uint32_t width : {8u, 16u, 24u, 40u, 56u, 64u, 72u, 120u, 128u, 136u, 248u, 640u, 1000u, 2592u}) {
        const uint32_t rows = width < 200 ? 33 : 20;
        all.push_back(Paint("white", width, rows, [](uint32_t, uint32_t) { return false; }));
        all.push_back(Paint("black", width, rows, [](uint32_t, uint32_t) { return true; }));
        all.push_back(Text(width, rows, seed++));
        all.push_back(Halftone(width, rows, seed++));
        for (uint32_t percent : {1u, 10u, 50u, 90u}) all.push_back(Noise(width, rows, percent, seed++));
        all.push_back(Noise(width, 1, 50, seed++));
        all.push_back(Comb(width, rows, 2, 2));
        all.push_back(Comb(width, rows, 3, 0));
        all.push_back(Comb(width, rows, 5, 3));
        all.push_back(Slants(width, rows, seed++));
        all.push_back(Slants(width, rows, seed++));
    }
    for (uint32_t width : {2560u, 2568u, 2624u, 5128u, 16384u, 32752u, 32760u}) {
        all.push_back(LongRuns(width, 24, seed++));
        all.push_back(Paint("white", width, 3, [](uint32_t, uint32_t) { return false; }));
        all.push_back(Paint("black", width, 3, [](uint32_t, uint32_t) { return true; }));
        all.push_back(Comb(width, 4, 2, 2));
        all.push_back(Slants(width, 5, seed++));
        all.push_back(Noise(width, 4, 50, seed++));
    }
    return all;
}

}  // namespace cam::test
