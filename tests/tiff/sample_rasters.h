// Bilevel rasters of every kind that the encoder has to cope with, the same on every machine.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace cam::test {

struct Raster {
    std::string name;
    uint32_t width;  // pixels, a multiple of 8
    uint32_t rows;
    std::vector<uint8_t> bits;  // width / 8 bytes a row, the most significant bit first, 1 is black

    Raster(std::string rasterName, uint32_t rasterWidth, uint32_t rasterRows)
        : name(std::move(rasterName)), width(rasterWidth), rows(rasterRows), bits(size_t{width / 8} * rows) {}
    void SetBlack(uint32_t x, uint32_t y) {
        bits[size_t{y} * (width / 8) + x / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
    }
    bool IsBlack(uint32_t x, uint32_t y) const {
        return bits[size_t{y} * (width / 8) + x / 8] >> (7 - x % 8) & 1;
    }
};

// Small, fast, and the same everywhere.
class Random {
  public:
    explicit Random(uint32_t seed) : state(seed * 2654435761u + 1) {}
    uint32_t Next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(uint64_t{Next()} * limit >> 32); }

  private:
    uint32_t state;
};

// More than 200 of them: text, halftone, noise of several densities, combs, single rows, long runs, white,
// black.
std::vector<Raster> SampleRasters();

}  // namespace cam::test
