#include "tiff/byte_buffer.h"

#include <doctest/doctest.h>

#include <string.h>

#include <memory>
#include <vector>

#include "tiff/sample_rasters.h"

using cam::tiff::ByteBuffer;

namespace {

std::vector<uint8_t> Contents(const ByteBuffer& buffer) {
    REQUIRE(buffer.Data()[buffer.Length()] == 0);
    return {buffer.Data(), buffer.Data() + buffer.Length()};
}

}  // namespace

TEST_CASE("a buffer grows to the first request exactly, and then by increments that swell up to a limit") {
    ByteBuffer buffer(10, true);
    CHECK(buffer.Reserve(9));
    CHECK(buffer.Capacity() == 10);
    CHECK(buffer.Reserve(10));  // a request equal to the capacity grows, here to the same size
    CHECK(buffer.Capacity() == 10);
    CHECK(buffer.Reserve(10));
    CHECK(buffer.Capacity() == 10 + 200 * 100);  // one call since the last growth
    for (int i = 0; i < 3; ++i) {
        const uint32_t required = buffer.Capacity();
        CHECK(buffer.Reserve(required));
        CHECK(buffer.Capacity() == required + 64000);
    }

    ByteBuffer patient(10, true);
    CHECK(patient.Reserve(100));
    for (int i = 0; i < 149; ++i) CHECK(patient.Reserve(5));
    CHECK(patient.Reserve(100));
    CHECK(patient.Capacity() == 100 + 200);  // 200 * 100 / 150 is below the increment
}

TEST_CASE("resizing keeps the contents, never cuts them, and shrinks only when asked to") {
    ByteBuffer buffer(16, true);
    REQUIRE(buffer.AppendBytes("abcdef", 6));
    CHECK(buffer.Resize(5, true));  // below the length: nothing happens
    CHECK(buffer.Capacity() == 16);
    CHECK(buffer.Resize(8, false));
    CHECK(buffer.Capacity() == 16);
    CHECK(buffer.Resize(6, true));
    CHECK(buffer.Capacity() == 6);
    CHECK(Contents(buffer) == std::vector<uint8_t>{'a', 'b', 'c', 'd', 'e', 'f'});
    CHECK(buffer.Reserve(50));  // shrinking has reset the policy: exact again
    CHECK(buffer.Capacity() == 50);
    buffer.Clear();
    CHECK(Contents(buffer).empty());
    CHECK(buffer.Capacity() == 50);
}

TEST_CASE("a fixed or frozen buffer refuses what it must and stays as it is") {
    ByteBuffer fixed(4, false);
    CHECK(fixed.AppendBytes("abc", 3));
    CHECK_FALSE(fixed.AppendBytes("d", 1));  // would reach the capacity
    CHECK_FALSE(fixed.WriteUInt(1, 1));
    CHECK(Contents(fixed) == std::vector<uint8_t>{'a', 'b', 'c'});

    ByteBuffer frozen(100, true);
    CHECK(frozen.WriteUInt(0x41, 1));
    frozen.SetFrozen(true);
    CHECK_FALSE(frozen.WriteUInt(0x42, 1));
    CHECK_FALSE(frozen.AppendBytes("b", 1));
    CHECK_FALSE(frozen.PutBits(1, 1));
    CHECK_FALSE(frozen.Reserve(1000));
    CHECK_FALSE(frozen.Resize(1000, false));
    frozen.PadToByte(1);
    CHECK(Contents(frozen) == std::vector<uint8_t>{0x41});

    ByteBuffer huge(UINT32_MAX, true);  // no such block
    CHECK(huge.Data() == nullptr);
    CHECK_FALSE(huge.WriteUInt(1, 1));
}

TEST_CASE("integers are little-endian and padded with zeros") {
    ByteBuffer buffer(0, true);
    CHECK(buffer.WriteUInt(0x4949, 2));
    CHECK(buffer.WriteUInt(8, 4));
    CHECK(buffer.WriteUInt(0xA1B2C3D4, 6));
    CHECK(buffer.WriteUInt(0x1234, 1));
    CHECK(Contents(buffer) ==
          std::vector<uint8_t>{0x49, 0x49, 8, 0, 0, 0, 0xD4, 0xC3, 0xB2, 0xA1, 0, 0, 0x34});
}

TEST_CASE("bits are packed from the left, and the bit writer owns the contents") {
    for (uint32_t fill : {0u, 1u}) {
        ByteBuffer buffer(8, true);
        REQUIRE(buffer.PutBits(0b101, 3));
        buffer.PadToByte(fill);
        CHECK(Contents(buffer) == std::vector<uint8_t>{static_cast<uint8_t>(fill ? 0xBF : 0xA0)});
        buffer.PadToByte(fill);  // at a boundary: nothing to fill
        CHECK(buffer.Length() == 1);
    }
    ByteBuffer buffer(64, true);
    REQUIRE(buffer.AppendBytes("overwritten", 11));
    REQUIRE(buffer.PutBits(0xFFFFFABC, 12));
    CHECK(buffer.Length() == 2);
    buffer.PadToByte(0);
    CHECK(buffer.Length() == 2);
    REQUIRE(buffer.PutBits(0x80000001, 32));
    CHECK(Contents(buffer) == std::vector<uint8_t>{0xAB, 0xC0, 0x80, 0, 0, 1});
    buffer.Clear();
    REQUIRE(buffer.PutBits(1, 1));
    CHECK(Contents(buffer) == std::vector<uint8_t>{0x80});
}

TEST_CASE("many bits through a small buffer come out as they went in") {
    cam::test::Random random(3);
    ByteBuffer buffer(0, true);
    std::vector<bool> expected;
    for (int i = 0; i < 3000; ++i) {
        const uint32_t value = random.Next();
        const uint32_t count = random.Below(33);
        REQUIRE(buffer.PutBits(value, count));
        for (uint32_t bit = count; bit-- > 0;) expected.push_back(value >> bit & 1);
    }
    REQUIRE(buffer.Length() == (expected.size() + 7) / 8);
    for (size_t i = 0; i < expected.size(); ++i) {
        REQUIRE((buffer.Data()[i / 8] >> (7 - i % 8) & 1) == expected[i]);
    }
}
