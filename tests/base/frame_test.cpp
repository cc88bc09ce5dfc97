#include "base/frame.h"

#include <doctest/doctest.h>

#include <climits>
#include <cstdint>

using namespace cam;

TEST_CASE("strides are padded to four bytes, and 32 bits of them are the media type's") {
    struct Case {
        std::uint32_t width, bits;
        std::uint64_t stride;
    };
    for (const Case& c : {Case{0, 16, 0},
                          {1, 16, 4},
                          {2, 16, 4},
                          {3, 16, 8},
                          {640, 16, 1280},
                          {5, 8, 8},
                          {5, 24, 16},
                          {7, 12, 8},  // whole bytes only
                          {7, 4, 0},
                          {INT_MAX, 16, 0x100000000},
                          {static_cast<std::uint32_t>(-64), 16, 0x1FFFFFF80}}) {
        CAPTURE(c.width);
        CHECK(RowStride(c.width, c.bits) == c.stride);
    }
}

TEST_CASE("a height's sign says which row comes first in memory") {
    std::uint8_t memory[12] = {};
    for (const std::int32_t height : {3, -3}) {
        const Frame frame = {memory, 2, height, 4};
        CHECK(frame.rows() == 3);
        CHECK(frame.size() == 12);
        CHECK(frame.MemoryRow(0).data() == memory);
        CHECK(frame.MemoryRow(2).size() == 4);
        CHECK(frame.Row(0).data() == memory + (height > 0 ? 8 : 0));
        CHECK(frame.Row(1).data() == memory + 4);
        CHECK(ConstFrame(frame).Row(2).data() == memory + (height > 0 ? 0 : 8));
    }
    CHECK(RowCount(INT_MIN) == 0x80000000);
    CHECK(RowCount(INT_MAX) == 0x7FFFFFFF);
    CHECK(Frame{{}, 1, INT_MIN, 8}.size() == 0x400000000);
}
