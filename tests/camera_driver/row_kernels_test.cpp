// Every fast kernel gives what its plain twin gives, bit for bit, and touches nothing else; and the plain one
// gives the colours it should.
#include "platform/desktop/camera_driver/row_kernels.h"

#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <memory>
#include <vector>

#include "guarded_memory.h"

using cam::InstructionSet;
using cam::test::Flush;
using cam::test::GuardedMemory;
using namespace cam::driver;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes HostileBytes(std::size_t size, unsigned seed) {
    static constexpr std::uint8_t kEdges[] = {0, 1, 15, 16, 17, 31, 127, 128, 129, 234, 235, 236, 254, 255};
    std::minstd_rand random(seed + 1);
    Bytes bytes(size);
    for (auto& byte : bytes)
        byte = seed % 2 ? kEdges[random() % sizeof kEdges] : static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

// What a kernel reads and writes of a row of `width` pixels.
struct Kernel {
    const char* name;
    std::size_t inputs;
    std::size_t (*inputBytes)(std::size_t width, std::size_t input);
    std::size_t (*outputBytes)(std::size_t width);
    void (*run)(const RowKernels& kernels, std::uint8_t* out, const std::uint8_t* const* in,
                std::size_t width);
};

constexpr std::size_t Even(std::size_t width) {
    return (width + 1) / 2 * 2;
}

constexpr Kernel kKernels[] = {
    {"yuy2ToRgb555", 1, [](std::size_t w, std::size_t) { return 2 * Even(w); },
     [](std::size_t w) { return 2 * w; },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.yuy2ToRgb555(out, in[0], w, 0);
     }},
    {"nv12ToRgb555", 2, [](std::size_t w, std::size_t input) { return input ? Even(w) : w; },
     [](std::size_t w) { return 2 * w; },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.nv12ToRgb555(out, in[0], in[1], w, -static_cast<std::ptrdiff_t>(2 * w));
     }},
    {"bgr24ToRgb555", 1, [](std::size_t w, std::size_t) { return 3 * w; },
     [](std::size_t w) { return 2 * w; },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.bgr24ToRgb555(out, in[0], w);
     }},
    {"bgr32ToRgb555", 1, [](std::size_t w, std::size_t) { return 4 * w; },
     [](std::size_t w) { return 2 * w; },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.bgr32ToRgb555(out, in[0], w);
     }},
    {"nv12ToYuy2", 2, [](std::size_t w, std::size_t input) { return input ? Even(w) : w; },
     [](std::size_t w) { return 2 * Even(w); },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.nv12ToYuy2(out, in[0], in[1], w);
     }},
    {"planarToYuy2", 3, [](std::size_t w, std::size_t input) { return input ? Even(w) / 2 : w; },
     [](std::size_t w) { return 2 * Even(w); },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         k.planarToYuy2(out, in[0], in[1], in[2], w);
     }},
    {"fullToStudio", 1, [](std::size_t w, std::size_t) { return 2 * Even(w); },
     [](std::size_t w) { return 2 * Even(w); },
     [](const RowKernels& k, std::uint8_t* out, const std::uint8_t* const* in, std::size_t w) {
         std::memcpy(out, in[0], 2 * Even(w));
         k.fullToStudio(out, w);
     }},
};

unsigned Rgb555Of(std::uint8_t y, std::uint8_t u, std::uint8_t v) {
    const std::uint8_t row[] = {y, u, y, v};
    std::uint8_t rgb[4];
    kPlainRowKernels.yuy2ToRgb555(rgb, row, 2, 0);
    return rgb[0] | rgb[1] << 8;
}

}  // namespace

TEST_CASE("rows of every width agree with the plain kernels, flush against unreadable memory") {
    for (const InstructionSet set : cam::kInstructionSets) {
        const RowKernels* const fast = kRowKernels.For(set);
        if (!fast || fast == &kPlainRowKernels) continue;
        CAPTURE(NameOf(set));
        for (const Kernel& kernel : kKernels) {
            CAPTURE(kernel.name);
            for (std::size_t width = 1; width <= 140; ++width) {
                CAPTURE(width);
                const Bytes input = HostileBytes(8 * 150, static_cast<unsigned>(width));
                const std::size_t size = kernel.outputBytes(width);
                const std::uint8_t* const plainIn[] = {input.data(), input.data() + 400, input.data() + 800};
                Bytes expected(size);
                kernel.run(kPlainRowKernels, expected.data(), plainIn, width);
                for (const Flush flush : {Flush::AtStart, Flush::AtEnd}) {
                    std::vector<std::unique_ptr<GuardedMemory>> rows;
                    const std::uint8_t* in[3] = {};
                    for (std::size_t i = 0; i < kernel.inputs; ++i) {
                        rows.push_back(
                            std::make_unique<GuardedMemory>(plainIn[i], kernel.inputBytes(width, i), flush));
                        in[i] = rows.back()->data();
                    }
                    const GuardedMemory out(size, flush);
                    kernel.run(*fast, out.data(), in, width);
                    CHECK(std::memcmp(out.data(), expected.data(), size) == 0);
                }
            }
        }
    }
}

TEST_CASE("YUY2 to RGB555 agrees for every Y, U and V") {
    Bytes every(512);
    for (int y = 0; y < 256; ++y) every[2 * y] = static_cast<std::uint8_t>(y);
    for (const InstructionSet set : cam::kInstructionSets) {
        const RowKernels* const fast = kRowKernels.For(set);
        if (!fast || fast == &kPlainRowKernels) continue;
        int wrong = 0;
        for (int uv = 0; uv < 65536; ++uv) {
            for (int pair = 0; pair < 128; ++pair) {
                every[4 * pair + 1] = static_cast<std::uint8_t>(uv);
                every[4 * pair + 3] = static_cast<std::uint8_t>(uv >> 8);
            }
            Bytes expected(512), actual(512);
            kPlainRowKernels.yuy2ToRgb555(expected.data(), every.data(), 256, 0);
            fast->yuy2ToRgb555(actual.data(), every.data(), 256, 0);
            wrong += expected != actual;
        }
        CHECK(wrong == 0);
    }
}

TEST_CASE("known colours, and JPEG's range drawn together to the studio's") {
    CHECK(Rgb555Of(16, 128, 128) == 0);
    CHECK(Rgb555Of(235, 128, 128) == 0x7FFF);
    CHECK(Rgb555Of(81, 90, 240) == 0x7C00);
    CHECK(Rgb555Of(145, 54, 34) == 0x03E0);
    CHECK(Rgb555Of(41, 240, 110) == 0x001F);
    Bytes range = {0, 0, 255, 255, 128, 128, 128, 128};
    kPlainRowKernels.fullToStudio(range.data(), 4);
    CHECK(range == Bytes{16, 16, 235, 240, 126, 128, 126, 128});
    const std::uint8_t red[] = {0, 0, 255, 0, 255, 0};
    std::uint8_t out[4];
    kPlainRowKernels.bgr24ToRgb555(out, red, 2);
    CHECK((out[0] | out[1] << 8) == 0x7C00);
    CHECK((out[2] | out[3] << 8) == 0x03E0);
}
