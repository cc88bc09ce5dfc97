#include "tiff/adaptive_threshold.h"

#include <doctest/doctest.h>

#include <math.h>

#include <limits>
#include <string>
#include <vector>

#include "guarded_memory.h"
#include "tiff/sample_rasters.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

using cam::test::GuardedMemory;
using cam::test::Random;
using namespace cam;
using namespace cam::tiff;

namespace {

enum class Content { Noise, Soft, Flat, NearFlat, BlackAndWhite, Dark };
constexpr Content kContents[] = {Content::Noise,    Content::Soft,          Content::Flat,
                                 Content::NearFlat, Content::BlackAndWhite, Content::Dark};

std::vector<uint8_t> Plane(Content content, uint32_t width, uint32_t rows, uint32_t seed) {
    Random random(seed);
    std::vector<uint8_t> plane(size_t{width} * rows);
    for (uint32_t y = 0; y < rows; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            double value = 0;
            switch (content) {
                case Content::Noise:
                    value = random.Below(256);
                    break;
                case Content::Soft:
                    value = 128 + 90 * sin(x * 0.05) * cos(y * 0.04) + random.Below(9);
                    break;
                case Content::Flat:
                    value = 255;
                    break;
                case Content::NearFlat:
                    value = 100 + random.Below(2);
                    break;
                case Content::BlackAndWhite:
                    value = random.Below(8) ? 255 : 0;
                    break;
                case Content::Dark:
                    value = random.Below(50) == 0;
                    break;
            }
            plane[size_t{y} * width + x] = static_cast<uint8_t>(value);
        }
    }
    return plane;
}

// The plane after `threshold`, in a buffer with `spare` bytes past it and a guard page past that.
std::vector<uint8_t> Run(ThresholdKernel* threshold, const std::vector<uint8_t>& plane, uint32_t width,
                         uint32_t rows, uint32_t spare, float ratio) {
    GuardedMemory block(plane.size() + spare);
    std::copy(plane.begin(), plane.end(), block.data());
    const auto plan = PlanThreshold({block.data(), block.size()}, width, static_cast<int32_t>(rows), ratio);
    REQUIRE(plan);
    REQUIRE(threshold(*plan));
    return {block.data(), block.data() + plane.size()};
}

// Sums over the window, straight from its definition.
std::vector<uint8_t> ByDefinition(const std::vector<uint8_t>& plane, int width, int rows, float ratio) {
    const int half = ((std::min(width, rows) >> 3) | 1) >> 1;
    const float keep = 1.0f - ratio;
    std::vector<uint8_t> out(plane.size());
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < width; ++x) {
            uint32_t sum = 0, count = 0;
            for (int v = std::max(0, y - half); v <= std::min(rows - 1, y + half); ++v) {
                for (int u = std::max(0, x - half); u <= std::min(width - 1, x + half); ++u) {
                    sum += plane[static_cast<size_t>(v * width + u)];
                    ++count;
                }
            }
            const auto at = static_cast<size_t>(y * width + x);
            const auto weighted = static_cast<float>(plane[at] * count);
            const float limit = static_cast<float>(static_cast<int32_t>(sum)) * keep;
            out[at] = weighted < limit ? 0 : 255;
        }
    }
    return out;
}

}  // namespace

TEST_CASE("the plain threshold is the comparison with the window's mean") {
    for (Content content : kContents) {
        for (float ratio : {0.0f, 0.03f, 0.1f, 0.2f, 1.0f}) {
            const std::vector<uint8_t> plane = Plane(content, 57, 43, 7);
            CHECK(Run(ThresholdPlain, plane, 57, 43, 0, ratio) == ByDefinition(plane, 57, 43, ratio));
        }
    }
}

TEST_CASE("every kernel gives the plane of the plain one") {
    constexpr uint32_t kSizes[][2] = {{1, 1},   {1, 40},   {40, 1},    {15, 200},  {16, 16},
                                      {17, 16}, {16, 33},  {23, 23},   {24, 31},   {31, 100},
                                      {32, 64}, {33, 65},  {63, 40},   {64, 48},   {65, 49},
                                      {72, 64}, {100, 16}, {160, 121}, {322, 241}, {640, 120}};
    uint32_t seed = 1;
    for (const auto& size : kSizes) {
        const uint32_t width = size[0], rows = size[1];
        for (Content content : kContents) {
            const std::vector<uint8_t> plane = Plane(content, width, rows, seed++);
            for (float ratio : {0.0f, 0.03f, 0.1f, 0.2f, 1.0f, std::numeric_limits<float>::quiet_NaN()}) {
                CAPTURE(width);
                CAPTURE(rows);
                CAPTURE(static_cast<int>(content));
                CAPTURE(ratio);
                const std::vector<uint8_t> expected = Run(ThresholdPlain, plane, width, rows, 0, ratio);
                // Without scratch room, with too little, and with plenty of it.
                for (uint32_t spare : {0u, width, width * rows + 3, width * rows * 9}) {
                    for (const InstructionSet set : kInstructionSets) {
                        const TiffKernels* kernels = kTiffKernels.For(set);
                        if (!kernels || set == InstructionSet::Plain) continue;
                        CAPTURE(NameOf(set));
                        CHECK(Run(kernels->threshold, plane, width, rows, spare, ratio) == expected);
                    }
                }
            }
        }
    }
}

TEST_CASE("large windows: every kernel within its reach, and the choice beyond it") {
    // Sides of 253, 257 and 263: below, at and above where sums stop being exact as floats.
    for (uint32_t smaller : {2030u, 2056u, 2105u}) {
        const uint32_t width = smaller, rows = smaller + 3;
        const uint32_t side = (smaller >> 3) | 1;
        for (Content content : {Content::Noise, Content::Flat}) {
            const std::vector<uint8_t> plane = Plane(content, width, rows, smaller);
            const std::vector<uint8_t> expected = Run(ThresholdPlain, plane, width, rows, 0, 0.03f);
            for (const InstructionSet set : kInstructionSets) {
                const TiffKernels* kernels = kTiffKernels.For(set);
                if (!kernels || set == InstructionSet::Plain || side > kernels->maxThresholdSide) continue;
                CAPTURE(NameOf(set));
                CAPTURE(smaller);
                CHECK(Run(kernels->threshold, plane, width, rows, 0, 0.03f) == expected);
            }
            std::vector<uint8_t> chosen = plane;
            CHECK(AdaptiveThreshold(chosen, width, static_cast<int32_t>(rows), 0.03f));
            CHECK(chosen == expected);
        }
    }
}

TEST_CASE("what cannot be thresholded is refused and left as it is") {
    struct Case {
        const char* what;
        uint32_t width;
        int32_t height;
        uint32_t size;
        float ratio;
    };
    const std::vector<uint8_t> plane = Plane(Content::Noise, 32, 32, 1);
    for (const Case& c : {Case{"no columns", 0, 32, 1024, 0.1f},
                          {"no rows", 32, 0, 1024, 0.1f},
                          {"a byte too few", 32, 32, 1023, 0.1f},
                          {"top-down", 32, -32, 1024, 0.1f},
                          {"ratio below", 32, 32, 1024, -0.01f},
                          {"ratio above", 32, 32, 1024, 1.01f},
                          {"a product that wraps round to little", 0x10000, 0x10000, 1024, 0.1f}}) {
        CAPTURE(c.what);
        std::vector<uint8_t> copy = plane;
        CHECK_FALSE(AdaptiveThreshold({copy.data(), c.size}, c.width, c.height, c.ratio));
        CHECK(copy == plane);
    }
    CHECK_FALSE(AdaptiveThreshold({static_cast<uint8_t*>(nullptr), 1024}, 32, 32, 0.1f));
    std::vector<uint8_t> copy = plane;
    CHECK(AdaptiveThreshold(copy, 32, 32, 0.1f));
    CHECK(copy != plane);
}
