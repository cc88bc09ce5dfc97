// Every fast kernel gives what its plain twin gives, bit for bit, and touches nothing else.
#include "still/pixels/pixel_convert.h"

#include <algorithm>
#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "guarded_memory.h"

using cam::test::Flush;
using cam::test::GuardedMemory;
using namespace cam;
using namespace cam::still;

namespace {

struct NamedKernels {
    const char* name;
    const PixelKernels* pixels;
};

// Those that this machine has.
std::vector<NamedKernels> FastKernels() {
    std::vector<NamedKernels> all;
    for (const InstructionSet set : kInstructionSets) {
        const PixelKernels* kernels = kPixelKernels.For(set);
        if (kernels && set != InstructionSet::Plain) all.push_back({NameOf(set), kernels});
    }
    return all;
}

struct NamedConversion {
    const char* name;
    void (*run)(const cam::Frame&, const PixelKernels&);
};
constexpr NamedConversion kConversions[] = {{"Yuy2ToRgb565", Yuy2ToRgb565},
                                            {"Yuy2ToGrey", Yuy2ToGrey},
                                            {"Rgb565ToGrey", Rgb565ToGrey},
                                            {"ExpandGrey", ExpandGrey}};

using Bytes = std::vector<std::uint8_t>;

// Noise, and the bytes at which clamping and rounding change sides.
Bytes HostileBytes(std::size_t size, unsigned seed) {
    static constexpr std::uint8_t kEdges[] = {0, 1, 15, 16, 17, 31, 127, 128, 129, 234, 235, 236, 254, 255};
    std::minstd_rand random(seed + 1);
    Bytes bytes(size);
    for (auto& byte : bytes) {
        byte = seed % 2 ? kEdges[random() % sizeof kEdges] : static_cast<std::uint8_t>(random() >> 8);
    }
    return bytes;
}

}  // namespace

TEST_CASE("YUY2 to RGB565 agrees for every Y, U and V") {
    Bytes every(512);
    for (int y = 0; y < 256; ++y) every[2 * y] = static_cast<std::uint8_t>(y);
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        int wrong = 0;
        for (int uv = 0; uv < 65536; ++uv) {
            for (int pair = 0; pair < 128; ++pair) {
                every[4 * pair + 1] = static_cast<std::uint8_t>(uv);
                every[4 * pair + 3] = static_cast<std::uint8_t>(uv >> 8);
            }
            Bytes expected = every;
            Bytes actual = every;
            kPlainPixelKernels.yuy2RowToRgb565(expected.data(), 256);
            fast.pixels->yuy2RowToRgb565(actual.data(), 256);
            wrong += expected != actual;
        }
        CHECK(wrong == 0);
    }
}

TEST_CASE("RGB565 agrees for every word") {
    Bytes every(2 * 65536);
    for (int word = 0; word < 65536; ++word) {
        every[2 * word] = static_cast<std::uint8_t>(word);
        every[2 * word + 1] = static_cast<std::uint8_t>(word >> 8);
    }
    Bytes expectedGrey(65536), expectedRgb(3 * 65536);
    kPlainPixelKernels.rgb565RowToGrey(expectedGrey.data(), every.data(), 65536);
    kPlainPixelKernels.rgb565RowToRgb888(expectedRgb.data(), every.data(), 65536);
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        Bytes grey(65536), rgb(3 * 65536);
        fast.pixels->rgb565RowToGrey(grey.data(), every.data(), 65536);
        fast.pixels->rgb565RowToRgb888(rgb.data(), every.data(), 65536);
        CHECK(grey == expectedGrey);
        CHECK(rgb == expectedRgb);
    }
}

TEST_CASE("frames of every width agree, flush against unreadable memory") {
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        for (std::uint32_t width = 1; width <= 70; ++width) {
            // With odd ones rows begin at any address, and every width sees noise as well as edges.
            for (const std::uint32_t padding : {0, 1, 2, 4, 7, 12}) {
                const auto stride = static_cast<std::uint32_t>(cam::RowStride(width)) + padding;
                const std::int32_t rows = 1 + width % 5;
                const auto frameOf = [&](std::span<std::uint8_t> bytes) {
                    return cam::Frame{bytes, static_cast<std::int32_t>(width), rows, stride};
                };
                CAPTURE(width);
                CAPTURE(padding);
                const Bytes input = HostileBytes(rows * stride, width * 3 + padding);
                for (const auto& conversion : kConversions) {
                    CAPTURE(conversion.name);
                    Bytes expected = input;
                    conversion.run(frameOf(expected), kPlainPixelKernels);
                    for (const Flush flush : {Flush::AtStart, Flush::AtEnd}) {
                        const GuardedMemory memory(input.data(), input.size(), flush);
                        conversion.run(frameOf({memory.data(), input.size()}), *fast.pixels);
                        CHECK(std::memcmp(memory.data(), expected.data(), expected.size()) == 0);
                    }
                }
            }
        }
    }
}

TEST_CASE("RGB888 rows of every width and alignment end where they must") {
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        for (std::uint32_t width = 1; width <= 70; ++width) {
            CAPTURE(width);
            const Bytes input = HostileBytes(2 * width, width);
            Bytes expected(3 * width);
            kPlainPixelKernels.rgb565RowToRgb888(expected.data(), input.data(), width);
            for (const Flush flush : {Flush::AtStart, Flush::AtEnd}) {
                const GuardedMemory row(input.data(), input.size(), flush);
                const GuardedMemory rgb(3 * width, flush);
                fast.pixels->rgb565RowToRgb888(rgb.data(), row.data(), width);
                CHECK(std::memcmp(rgb.data(), expected.data(), expected.size()) == 0);
            }
        }
    }
}

TEST_CASE("filtered rows of every length agree and end where they must") {
    constexpr std::size_t kBefore = 3;
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        for (std::size_t count = 0; count <= 200; ++count) {
            CAPTURE(count);
            const auto seed = static_cast<unsigned>(count);
            const Bytes row = HostileBytes(kBefore + count, seed);
            const Bytes above = HostileBytes(kBefore + count, seed + 2);
            for (const auto filter : {&PixelKernels::upFilterRow, &PixelKernels::paethFilterRow}) {
                Bytes expected(count);
                (kPlainPixelKernels.*filter)(expected.data(), row.data() + kBefore, above.data() + kBefore,
                                             count);
                for (const Flush flush : {Flush::AtStart, Flush::AtEnd}) {
                    const GuardedMemory guardedRow(row.data(), row.size(), flush);
                    const GuardedMemory guardedAbove(above.data(), above.size(), flush);
                    const GuardedMemory filtered(count, flush);
                    (fast.pixels->*filter)(filtered.data(), guardedRow.data() + kBefore,
                                           guardedAbove.data() + kBefore, count);
                    CHECK(std::equal(expected.begin(), expected.end(), filtered.data()));
                }
            }
        }
    }
}

TEST_CASE("Paeth agrees for every neighbour") {
    // Left, above and above left take all values that fall on different sides of each other; the byte does
    // not matter.
    Bytes row, above;
    for (int a = 0; a < 256; a += 5) {
        for (int b = 0; b < 256; b += 3) {
            for (int c = 0; c < 256; c += 3) {
                row.insert(row.end(), {static_cast<std::uint8_t>(a), 0, 0, 100, 0, 0});
                above.insert(above.end(),
                             {static_cast<std::uint8_t>(c), 0, 0, static_cast<std::uint8_t>(b), 0, 0});
            }
        }
    }
    const std::size_t count = row.size() - 3;
    Bytes expected(count), actual(count);
    kPlainPixelKernels.paethFilterRow(expected.data(), row.data() + 3, above.data() + 3, count);
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        fast.pixels->paethFilterRow(actual.data(), row.data() + 3, above.data() + 3, count);
        CHECK(actual == expected);
    }
}

TEST_CASE("luma and colour differences agree for every word, and end where they must") {
    constexpr std::size_t kWidth = 1024;
    Bytes words;
    for (unsigned p = 0; p < 0x10000; ++p) {
        words.push_back(static_cast<std::uint8_t>(p));
        words.push_back(static_cast<std::uint8_t>(p >> 8));
    }
    const Bytes noise = HostileBytes(2 * kWidth, 0);
    struct Ycc {
        explicit Ycc(std::size_t width, Flush flush)
            : upper(width, flush), lower(width, flush), cb(width / 2, flush), cr(width / 2, flush) {}
        YccRows Rows() const { return {{upper.data(), lower.data()}, cb.data(), cr.data()}; }
        GuardedMemory upper, lower, cb, cr;
    };
    for (const NamedKernels& fast : FastKernels()) {
        CAPTURE(fast.name);
        for (const Flush flush : {Flush::AtStart, Flush::AtEnd}) {
            for (std::size_t first = 0; first < words.size(); first += 2 * kWidth) {
                // The largest width, and one run less.
                const std::size_t width = first % (4 * kWidth) ? kWidth : kWidth - kYccPixels;
                const GuardedMemory upper(words.data() + first, 2 * width, flush);
                const GuardedMemory lower(noise.data(), 2 * width, flush);
                const Ycc expected(width, flush), actual(width, flush);
                kPlainPixelKernels.rgb565RowsToYcc(expected.Rows(), upper.data(), lower.data(), width);
                fast.pixels->rgb565RowsToYcc(actual.Rows(), upper.data(), lower.data(), width);
                CHECK(std::memcmp(actual.upper.data(), expected.upper.data(), width) == 0);
                CHECK(std::memcmp(actual.lower.data(), expected.lower.data(), width) == 0);
                CHECK(std::memcmp(actual.cb.data(), expected.cb.data(), width / 2) == 0);
                CHECK(std::memcmp(actual.cr.data(), expected.cr.data(), width / 2) == 0);
            }
        }
    }
}
