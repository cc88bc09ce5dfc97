#include "tiff/encode_g4.h"

#include <doctest/doctest.h>

#include <string.h>

#include <functional>
#include <vector>

#include "tiff/encode_g4_ways.h"
#include "guarded_memory.h"
#include "tiff/sample_rasters.h"
#ifdef CAM_HAVE_LIBTIFF
#include "tiff/libtiff_peer.h"
#endif

using cam::test::GuardedMemory;
using cam::test::Raster;
using namespace cam::tiff;

namespace {

struct Way {
    const char* name;
    EncodeG4Way* encode;
};

std::vector<Way> FastWays() {
    std::vector<Way> ways = {{"dispatched", EncodeG4}, {"word", EncodeG4Word}};
#ifdef __x86_64__
    ways.push_back({"sse2", EncodeG4Sse2});
#endif
    return ways;
}

std::vector<uint8_t> Encode(EncodeG4Way* encode, const Raster& raster, uint32_t capacity) {
    const GuardedMemory bits(raster.bits.data(), raster.bits.size());
    ByteBuffer output(capacity, true);
    uint32_t size = 0;
    REQUIRE(
        encode(bits.data(), static_cast<uint32_t>(bits.size()), raster.width, raster.rows, output, &size));
    REQUIRE(size <= output.Capacity());
    return {output.Data(), output.Data() + size};
}

Raster OneRow(uint32_t width, std::initializer_list<uint8_t> bytes) {
    Raster raster("row", width, 1);
    memcpy(raster.bits.data(), bytes.begin(), bytes.size());
    return raster;
}

}  // namespace

TEST_CASE("Group 4 codes of small pictures are the bits worked out by hand") {
    struct Case {
        Raster raster;
        std::vector<uint8_t> bytes;
    };
    const Case cases[] = {
        {OneRow(8, {0x00}), {0x80, 0x08, 0x00, 0x80}},
        // 001 00110101 010, then white to the end: 1, then the end of the block.
        {OneRow(8, {0x80}), {0x26, 0xAA, 0x00, 0x20, 0x02}},
    };
    for (const Case& c : cases) {
        CHECK(Encode(EncodeG4Plain, c.raster, 64) == c.bytes);
        for (const Way& way : FastWays()) {
            CAPTURE(way.name);
            CHECK(Encode(way.encode, c.raster, 64) == c.bytes);
        }
    }
}

TEST_CASE("every encoder gives the same bytes, whatever room it starts with") {
    const std::vector<Raster> rasters = cam::test::SampleRasters();
    REQUIRE(rasters.size() >= 200);
    for (const Raster& raster : rasters) {
        CAPTURE(raster.name);
        const std::vector<uint8_t> expected = Encode(EncodeG4Plain, raster, 0);
        for (const Way& way : FastWays()) {
            CAPTURE(way.name);
            CHECK(Encode(way.encode, raster, 0) == expected);
            CHECK(Encode(way.encode, raster, static_cast<uint32_t>(raster.bits.size()) + raster.width) ==
                  expected);
        }
#ifdef CAM_HAVE_LIBTIFF
        CHECK(cam::test::LibtiffEncodeG4(raster.bits.data(), raster.width, raster.rows) == expected);
        CHECK(cam::test::LibtiffDecodeG4(expected.data(), expected.size(), raster.width, raster.rows) ==
              raster.bits);
#endif
    }
}

TEST_CASE("all pictures of three short lines are coded as by the plain encoder") {
    // Two lines of all 256 bytes each, under a third that follows from them: every meeting of changes within a byte.
    for (uint32_t seed = 0; seed < 65536; ++seed) {
        Raster raster("bytes", 8, 3);
        raster.bits = {static_cast<uint8_t>(seed), static_cast<uint8_t>(seed >> 8),
                       static_cast<uint8_t>(seed * 7 >> 3)};
        ByteBuffer expected(64, true), actual(64, true);
        uint32_t expectedSize = 0, size = 0;
        REQUIRE(EncodeG4Plain(raster.bits.data(), 3, 8, 3, expected, &expectedSize));
        for (const Way& way : FastWays()) {
            REQUIRE(way.encode(raster.bits.data(), 3, 8, 3, actual, &size));
            if (size != expectedSize || memcmp(actual.Data(), expected.Data(), size) != 0) {
                CAPTURE(way.name);
                CAPTURE(seed);
                FAIL("another code");
            }
        }
    }
}

TEST_CASE("what is out of range, incomplete or does not fit is refused") {
    const std::vector<uint8_t> bits(8192, 0x55);
    for (EncodeG4Way* encode : {&EncodeG4, &EncodeG4Plain, &EncodeG4Word}) {
        ByteBuffer output(16, true);
        uint32_t size = 0;
        CHECK_FALSE(encode(bits.data(), 8192, kG4MaxWidth + 8, 1, output, &size));
        CHECK_FALSE(encode(bits.data(), 8192, 12, 1, output, &size));
        CHECK_FALSE(encode(bits.data(), 8191, 64, 1024, output, &size));
        CHECK(encode(bits.data(), 8192, 64, 1024, output, &size));
        ByteBuffer fixed(16, false);
        CHECK_FALSE(encode(bits.data(), 8192, 64, 1024, fixed, &size));
        ByteBuffer frozen(100000, true);
        frozen.SetFrozen(true);
        CHECK_FALSE(encode(bits.data(), 8192, 64, 1024, frozen, &size));
    }
}
