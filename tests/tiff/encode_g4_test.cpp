#include "tiff/encode_g4.h"

#include <doctest/doctest.h>

#include <string.h>

#include <functional>
#include <vector>

#include "guarded_memory.h"
#include "tiff/sample_rasters.h"
#include "tiff/tiff_kernels.h"
#ifdef CAM_HAVE_LIBTIFF
#include "libtiff_peer.h"
#endif

using cam::test::GuardedMemory;
using cam::test::Raster;
using namespace cam;
using namespace cam::tiff;

namespace {

struct NamedEncoder {
    const char* name;
    EncodeG4Kernel* encode;
};

// What this machine has, and what the library chooses.
std::vector<NamedEncoder> FastEncoders() {
    std::vector<NamedEncoder> encoders = {{"chosen", EncodeG4}};
    for (const InstructionSet set : kInstructionSets) {
        const TiffKernels* kernels = kTiffKernels.For(set);
        if (kernels && kernels->encodeG4 != EncodeG4Plain)
            encoders.push_back({NameOf(set), kernels->encodeG4});
    }
    return encoders;
}

std::vector<uint8_t> Encode(EncodeG4Kernel* encode, const Raster& raster, uint32_t capacity) {
    const GuardedMemory bits(raster.bits.data(), raster.bits.size());
    ByteBuffer output(capacity, true);
    REQUIRE(EncodeG4({bits.data(), bits.size()}, raster.width, raster.rows, output, encode));
    return {output.Data(), output.Data() + output.Length()};
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
        for (const NamedEncoder& fast : FastEncoders()) {
            CAPTURE(fast.name);
            CHECK(Encode(fast.encode, c.raster, 64) == c.bytes);
        }
    }
}

TEST_CASE("every encoder gives the same bytes, whatever room it starts with") {
    const std::vector<Raster> rasters = cam::test::SampleRasters();
    REQUIRE(rasters.size() >= 200);
    for (const Raster& raster : rasters) {
        CAPTURE(raster.name);
        const std::vector<uint8_t> expected = Encode(EncodeG4Plain, raster, 0);
        for (const NamedEncoder& fast : FastEncoders()) {
            CAPTURE(fast.name);
            CHECK(Encode(fast.encode, raster, 0) == expected);
            CHECK(Encode(fast.encode, raster, static_cast<uint32_t>(raster.bits.size()) + raster.width) ==
                  expected);
        }
#ifdef CAM_HAVE_LIBTIFF
        CHECK(cam::peer::LibtiffEncodeG4(raster.bits.data(), raster.width, raster.rows) == expected);
        CHECK(cam::peer::LibtiffDecodeG4(expected.data(), expected.size(), raster.width, raster.rows) ==
              raster.bits);
#endif
    }
}

TEST_CASE("all pictures of three short lines are coded as by the plain encoder") {
    // Two lines of all 256 bytes each, under a third that follows from them: every meeting of changes within
    // a byte.
    for (uint32_t seed = 0; seed < 65536; ++seed) {
        Raster raster("bytes", 8, 3);
        raster.bits = {static_cast<uint8_t>(seed), static_cast<uint8_t>(seed >> 8),
                       static_cast<uint8_t>(seed * 7 >> 3)};
        ByteBuffer expected(64, true), actual(64, true);
        REQUIRE(EncodeG4(raster.bits, 8, 3, expected, EncodeG4Plain));
        for (const NamedEncoder& fast : FastEncoders()) {
            REQUIRE(EncodeG4(raster.bits, 8, 3, actual, fast.encode));
            if (actual.Length() != expected.Length() ||
                memcmp(actual.Data(), expected.Data(), actual.Length()) != 0) {
                CAPTURE(fast.name);
                CAPTURE(seed);
                FAIL("another code");
            }
        }
    }
}

TEST_CASE("what is out of range, incomplete or does not fit is refused") {
    const std::vector<uint8_t> bits(8192, 0x55);
    const std::span<const uint8_t> raster = bits;
    for (EncodeG4Kernel* kernel : {EncodeG4Plain, EncodeG4Word}) {
        const auto encode = [&](std::span<const uint8_t> bytes, uint32_t width, uint32_t rows,
                                ByteBuffer& output) { return EncodeG4(bytes, width, rows, output, kernel); };
        ByteBuffer output(16, true);
        CHECK_FALSE(encode(raster, kG4MaxWidth + 8, 1, output));
        CHECK_FALSE(encode(raster, 12, 1, output));
        CHECK_FALSE(encode(raster.first(8191), 64, 1024, output));
        CHECK(encode(raster, 64, 1024, output));
        ByteBuffer fixed(16, false);
        CHECK_FALSE(encode(raster, 64, 1024, fixed));
        ByteBuffer frozen(100000, true);
        frozen.SetFrozen(true);
        CHECK_FALSE(encode(raster, 64, 1024, frozen));
    }
}
