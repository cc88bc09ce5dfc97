#include "tiff/tiff_file.h"

#include <doctest/doctest.h>

#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tiff/sample_rasters.h"
#ifdef CAM_HAVE_LIBTIFF
#include "libtiff_peer.h"
#endif

using namespace cam::tiff;
using cam::test::Random;

namespace {

uint32_t Number(const ByteBuffer& file, size_t at, int width) {
    uint32_t value = 0;
    for (int i = width; i-- > 0;) value = value << 8 | file.Data()[at + static_cast<size_t>(i)];
    return value;
}

struct Entry {
    uint32_t tag, type, count, value;
    bool operator==(const Entry&) const = default;
};

std::vector<Entry> Directory(const ByteBuffer& file) {
    REQUIRE(memcmp(file.Data(), "II\x2A\0\x8\0\0\0", 8) == 0);
    std::vector<Entry> entries;
    const uint32_t count = Number(file, 8, 2);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = 10 + size_t{i} * 12;
        entries.push_back(
            {Number(file, at, 2), Number(file, at + 2, 2), Number(file, at + 4, 4), Number(file, at + 8, 4)});
    }
    REQUIRE(Number(file, 10 + size_t{count} * 12, 4) == 0);
    for (size_t i : {0, 8}) {
        CHECK(Number(file, 14 + size_t{count} * 12 + i, 4) == 300);
        CHECK(Number(file, 18 + size_t{count} * 12 + i, 4) == 1);
    }
    return entries;
}

// A picture's file, from a frame of 16-bit words, rows padded to whole words, `height` as in a frame.
bool Encode(ByteBuffer& file, const std::vector<uint16_t>& picture, uint32_t width, int32_t height) {
    const auto stride = static_cast<uint32_t>(cam::RowStride(width));
    std::vector<uint8_t> bytes(size_t{stride} * cam::RowCount(height));
    const cam::Frame frame = {bytes, static_cast<int32_t>(width), height, stride};
    for (uint32_t y = 0; y < frame.rows(); ++y)
        memcpy(frame.Row(y).data(), picture.data() + size_t{y} * width, width * 2);
    return EncodeBilevelTiff(file, frame, nullptr, false);
}

std::vector<uint8_t> Bytes(const ByteBuffer& file) {
    return {file.Bytes().begin(), file.Bytes().end()};
}

}  // namespace

TEST_CASE("the directories of the three kinds of file") {
    ByteBuffer group4(16, true);
    CHECK(WriteTiffHeader(640, 480, 1000, false, true, nullptr, group4, false));
    CHECK(group4.Length() == 186);
    const std::vector<Entry> expected = {
        {256, 4, 1, 640}, {257, 4, 1, 480}, {258, 3, 1, 1},   {259, 3, 1, 4},    {262, 3, 1, 0},
        {266, 3, 1, 1},   {273, 4, 1, 186}, {278, 4, 1, 480}, {279, 4, 1, 1000}, {282, 5, 1, 170},
        {283, 5, 1, 178}, {293, 4, 1, 32},  {296, 3, 1, 1}};
    CHECK(Directory(group4) == expected);

    for (bool grey8 : {false, true}) {
        ByteBuffer other(16, true);
        CHECK(WriteTiffHeader(642, 480, 1000, grey8, false, nullptr, other, true));
        const std::vector<Entry> entries = {{256, 4, 1, 642},
                                            {257, 4, 1, 480},
                                            {258, 3, 1, grey8 ? 8u : 1u},
                                            {259, 3, 1, 1},
                                            {262, 3, 1, grey8 ? 1u : 0u},
                                            {266, 3, 1, 1},
                                            {273, 4, 1, 174},
                                            {278, 4, 1, 480},
                                            {279, 4, 1, 1000},
                                            {282, 5, 1, 158},
                                            {283, 5, 1, 166},
                                            {296, 3, 1, 1}};
        CHECK(Directory(other) == entries);
        CHECK(other.Length() == 174);
    }
}

TEST_CASE("description and trailer") {
    for (const char* text : {"", "abc", "abcd", "taken at the gate"}) {
        CAPTURE(text);
        const auto size = static_cast<uint32_t>(strlen(text) + 1);
        const uint32_t outside = size > 4 ? size : 0;
        ByteBuffer file(16, true);
        WriteTiffHeader(8, 1, 77, false, true, text, file, true);
        const std::vector<Entry> entries = Directory(file);
        REQUIRE(entries.size() == 15);
        CHECK(entries[6].tag == 270);
        CHECK(entries[6].count == size);
        const uint32_t afterEntries = 30 + 12 * 15;
        if (outside) {
            CHECK(entries[6].value == afterEntries);
            CHECK(memcmp(file.Data() + afterEntries, text, size) == 0);
        } else {
            CHECK(memcmp(file.Data() + 10 + 6 * 12 + 8, text, size) == 0);
        }
        CHECK(entries[7] == Entry{273, 4, 1, afterEntries + outside});
        CHECK(entries[14] == Entry{34171, 4, 1, afterEntries + outside + 77});
        CHECK(file.Length() == afterEntries + outside);
    }
}

TEST_CASE("a picture's file is the same whichever way up its rows lie, and what is no zero is white") {
    Random random(5);
    for (uint32_t width : {1u, 7u, 8u, 9u, 64u, 127u, 642u}) {
        const uint32_t rows = 21;
        std::vector<uint16_t> picture(size_t{width} * rows);
        for (uint16_t& pixel : picture)
            pixel = static_cast<uint16_t>(random.Below(3) ? random.Below(65536) : 0);
        ByteBuffer bottomUp(10, true), topDown(10, true), blackAndWhite(10, true);
        REQUIRE(Encode(bottomUp, picture, width, 21));
        REQUIRE(Encode(topDown, picture, width, -21));
        CHECK(Bytes(bottomUp) == Bytes(topDown));
        for (uint16_t& pixel : picture) pixel = pixel ? 0xFFFF : 0;
        REQUIRE(Encode(blackAndWhite, picture, width, 21));
        CHECK(Bytes(bottomUp) == Bytes(blackAndWhite));
        const std::vector<Entry> entries = Directory(bottomUp);
        CHECK(entries[0].value == (width + 7) / 8 * 8);
        CHECK(bottomUp.Length() == 186 + entries[8].value);
#ifdef CAM_HAVE_LIBTIFF
        cam::peer::MemoryTiff reader(Bytes(bottomUp));
        REQUIRE(reader.get());
        const uint32_t lineBytes = (width + 7) / 8;
        std::vector<uint8_t> raster(size_t{lineBytes} * rows);
        REQUIRE(TIFFReadEncodedStrip(reader.get(), 0, raster.data(), -1) ==
                static_cast<tmsize_t>(raster.size()));
        for (uint32_t y = 0; y < rows; ++y) {
            for (uint32_t x = 0; x < lineBytes * 8; ++x) {
                const bool black = raster[y * lineBytes + x / 8] >> (7 - x % 8) & 1;
                REQUIRE(black == (x < width && picture[size_t{y} * width + x] == 0));
            }
        }
#endif
    }
}

TEST_CASE("pictures that expand are stored whole") {
    const uint32_t width = 640, rows = 96;
    std::vector<uint16_t> comb(size_t{width} * rows, 0xFFFF);
    for (size_t i = 0; i < comb.size(); ++i) {
        if (i / width % 2 && i % 2) comb[i] = 0;
    }
    ByteBuffer file(10, true);
    REQUIRE(Encode(file, comb, width, 96));
    CHECK(file.Length() > 186 + comb.size() / 8 * 3);
#ifdef CAM_HAVE_LIBTIFF
    cam::peer::MemoryTiff reader(Bytes(file));
    std::vector<uint8_t> raster(comb.size() / 8);
    REQUIRE(TIFFReadEncodedStrip(reader.get(), 0, raster.data(), -1) == static_cast<tmsize_t>(raster.size()));
    CHECK(raster[0] == 0);
    CHECK(raster[width / 8] == 0x55);
#endif
}

TEST_CASE("pictures out of range are refused") {
    const std::vector<uint8_t> pixels(70000);
    ByteBuffer file(10, true);
    CHECK_FALSE(EncodeBilevelTiff(file, {pixels, 32761, 1, 65524}, nullptr, false));
    CHECK_FALSE(EncodeBilevelTiff(file, {pixels, -8, 1, 16}, nullptr, false));
    CHECK(EncodeBilevelTiff(file, {pixels, 32760, 1, 65520}, nullptr, false));
    CHECK(EncodeBilevelTiff(file, {pixels, 0, 0, 0}, nullptr, false));
    CHECK(Directory(file)[1].value == 0);
}
