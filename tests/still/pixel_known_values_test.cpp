// What the conversions make of given pixels, for every kernel set that this machine has.
#include "still/pixels/pixel_convert.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "still/pixels/pixel_tables.h"

using namespace cam;
using namespace cam::still;

namespace {

// Those that this machine has.
std::vector<const PixelKernels*> AllKernels() {
    std::vector<const PixelKernels*> all;
    for (const InstructionSet set : kInstructionSets) {
        if (const PixelKernels* kernels = kPixelKernels.For(set)) all.push_back(kernels);
    }
    return all;
}

std::uint16_t WordAt(const std::vector<std::uint8_t>& bytes, std::size_t index) {
    return static_cast<std::uint16_t>(bytes[2 * index] | bytes[2 * index + 1] << 8);
}

}  // namespace

TEST_CASE("the expansion tables are the rounded ones") {
    for (int v = 0; v < 32; ++v) CHECK(kExpand5[v] == std::floor(v * 255.0 / 31 + 0.5));
    for (int v = 0; v < 64; ++v) CHECK(kExpand6[v] == std::floor(v * 255.0 / 63 + 0.5));
}

TEST_CASE("YUY2 becomes RGB565 by the integer formula") {
    struct {
        std::uint8_t y0, u, y1, v;
        std::uint16_t first, second;
    } const cases[] = {
        {16, 128, 235, 128, 0x0000, 0xFFFF}, {81, 128, 81, 128, 0x4A69, 0x4A69},
        {0, 128, 255, 128, 0x0000, 0xFFFF},  // beyond the nominal range: clamped
        {255, 255, 0, 255, 0xFBFF, 0xB81D},  // strongest red and blue
        {255, 0, 0, 0, 0x4FE2, 0x0420},      // strongest green
        {82, 90, 41, 240, 0xF800, 0xD000},   // about red
        {41, 240, 41, 110, 0x001F, 0x001F},  // blue
    };
    for (const PixelKernels* kernels : AllKernels()) {
        CAPTURE(kernels);
        for (const auto& c : cases) {
            CAPTURE(c.y0);
            CAPTURE(c.u);
            std::vector<std::uint8_t> frame;
            for (int pair = 0; pair < 40; ++pair) frame.insert(frame.end(), {c.y0, c.u, c.y1, c.v});
            Yuy2ToRgb565({frame, 80, 1, 160}, *kernels);
            for (std::size_t pair : {0, 17, 39}) {
                CHECK(WordAt(frame, 2 * pair) == c.first);
                CHECK(WordAt(frame, 2 * pair + 1) == c.second);
            }
        }
    }
}

TEST_CASE("an odd width ends with one pixel of its pair and leaves the padding") {
    for (const PixelKernels* kernels : AllKernels()) {
        CAPTURE(kernels);
        std::vector<std::uint8_t> frame = {16, 128, 235, 128, 81,  128, 99, 128, 0xAA, 0xBB, 0xCC, 0xDD,
                                           81, 128, 16,  128, 235, 128, 77, 128, 0x11, 0x22, 0x33, 0x44};
        Yuy2ToRgb565({frame, 3, 2, 12}, *kernels);
        const std::vector<std::uint8_t> expected = {0x00, 0x00, 0xFF, 0xFF, 0x69, 0x4A, 99,   128,
                                                    0xAA, 0xBB, 0xCC, 0xDD, 0x69, 0x4A, 0x00, 0x00,
                                                    0xFF, 0xFF, 77,   128,  0x11, 0x22, 0x33, 0x44};
        CHECK(frame == expected);
    }
}

TEST_CASE("grey of RGB565 is its blue alone") {
    struct {
        std::uint16_t word;
        std::uint8_t grey;
    } const cases[] = {{0xF800, 0}, {0x0000, 0}, {0xFFFF, 255}, {0x001F, 255}, {0x0001, 8}, {0x0010, 132},
                       {0x07E0, 0}, {0x0400, 0}, {0x03E0, 0},   {0x07E1, 8},   {0xFFE0, 0}, {0xF801, 8}};
    for (const PixelKernels* kernels : AllKernels()) {
        CAPTURE(kernels);
        for (const auto& c : cases) {
            CAPTURE(c.word);
            std::vector<std::uint8_t> frame;
            for (int x = 0; x < 70; ++x) {
                frame.push_back(static_cast<std::uint8_t>(c.word));
                frame.push_back(static_cast<std::uint8_t>(c.word >> 8));
            }
            Rgb565ToGrey({frame, 70, 1, 140}, *kernels);
            for (int x = 0; x < 70; ++x) CHECK(frame[x] == c.grey);
        }
    }
}

TEST_CASE("grey is packed to the front and expanded from there over padded rows") {
    for (const PixelKernels* kernels : AllKernels()) {
        CAPTURE(kernels);
        constexpr int kWidth = 37, kStride = 80;
        std::vector<std::uint8_t> bytes(5 * kStride);
        const cam::Frame frame = {bytes, kWidth, 5, kStride};
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 29 + i / 80);
        const std::vector<std::uint8_t> before = bytes;
        Yuy2ToGrey(frame, *kernels);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < kWidth; ++x) CHECK(bytes[y * kWidth + x] == before[y * kStride + 2 * x]);
        }
        ExpandGrey(frame, *kernels);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const std::uint16_t expected = before[y * kStride + 2 * x] ? 0xFFFF : 0;
                CHECK(WordAt(bytes, y * kStride / 2 + x) == expected);
            }
        }
    }
}
