// Scenes, pixel formats and what the properties do to a picture, without a graph.
#include <doctest/doctest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "scene/chart_reader.h"
#include "look.h"
#include "properties.h"
#include "scene/scene.h"
#include "test_files.h"

namespace {

using namespace kit;

// A bottom-up BMP of 24 bits: four quarters in the colours given, from the top left in reading order.
std::string QuartersBmp(int side, const Pixel (&quarters)[4]) {
    const auto rowBytes = static_cast<DWORD>(side * 3);
    BITMAPFILEHEADER file = {};
    BITMAPINFOHEADER info = {};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof file + sizeof info;
    file.bfSize = file.bfOffBits + rowBytes * static_cast<DWORD>(side);
    info.biSize = sizeof info;
    info.biWidth = info.biHeight = side;
    info.biPlanes = 1;
    info.biBitCount = 24;
    std::string bytes(reinterpret_cast<const char*>(&file), sizeof file);
    bytes.append(reinterpret_cast<const char*>(&info), sizeof info);
    for (int y = side - 1; y >= 0; --y) {
        for (int x = 0; x < side; ++x) {
            const Pixel pixel = quarters[(y < side / 2 ? 0 : 2) + (x < side / 2 ? 0 : 1)];
            for (const int part : {Blue(pixel), Green(pixel), Red(pixel)}) bytes += static_cast<char>(part);
        }
    }
    return bytes;
}

// A film of 4 x 4 pixels and two frames: the first all red, the second grey on top and blue below.
std::string Film(bool is422) {
    const std::string chromaOfRed(is422 ? 8 : 4, '\x5A'), chromaRedOfRed(is422 ? 8 : 4, '\xF0');
    const std::size_t half = is422 ? 4 : 2;
    return std::string("YUV4MPEG2 W4 H4 F30:1 Ip A1:1 ") + (is422 ? "C422" : "C420jpeg") +
           " XYSCSS=none\n" +                                                    //
           "FRAME\n" + std::string(16, '\x51') + chromaOfRed + chromaRedOfRed +  //
           "FRAME Ip\n" + std::string(8, '\x7E') + std::string(8, '\x29') + std::string(half, '\x80') +
           std::string(half, '\xF0') + std::string(half, '\x80') + std::string(half, '\x6E');
}

Picture Plain(Pixel color, int width = 8, int height = 8) {
    Picture picture;
    picture.Resize(width, height);
    picture.Fill(0, 0, width, height, color);
    return picture;
}

}  // namespace

TEST_CASE("the chart counts its frames, and is the same chart in every size") {
    const auto scene = OpenChart();
    for (const auto& [width, height] : {std::pair{640, 480}, {161, 121}, {1600, 1200}, {16, 12}}) {
        CAPTURE(width);
        for (const unsigned number : {0u, 1u, 0xA5Cu, 4095u, 4096u}) {
            const Picture& picture = scene->Frame(number, width, height);
            unsigned counter = 0;
            for (int bit = 0; bit < chart::kCounterBits; ++bit) {
                const Pixel pixel = picture.Row(
                    chart::CellY(chart::kCounterTop, height))[chart::CellX(chart::kCounterLeft + bit, width)];
                counter = counter << 1 | (pixel == chart::kBitSet ? 1 : 0);
            }
            CHECK(counter == number % 4096);
            bool cornersWhole = true;
            for (int y = 0; y < 2 * height / chart::kRows; ++y) {
                for (int x = 0; x < 2 * width / chart::kColumns; ++x)
                    cornersWhole = cornersWhole && picture.Row(y)[x] == chart::kTopLeft &&
                                   picture.Row(y)[width - 1 - x] == chart::kTopRight;
            }
            CHECK(cornersWhole);
            CHECK(picture.Row(height - 1)[width - 1] == chart::kBottomRight);
            CHECK(picture.Row(chart::CellY(3, height))[chart::CellX(2, width)] == chart::kBars[1]);
        }
    }
}

TEST_CASE("a picture file is shown in every size") {
    const Pixel quarters[4] = {Rgb(250, 10, 20), Rgb(30, 240, 40), Rgb(50, 60, 230), Rgb(200, 200, 0)};
    const TestFile file(L"quarters.bmp", QuartersBmp(32, quarters));
    std::string error;
    const auto scene = OpenPicture(file.path(), error);
    REQUIRE(scene);
    for (const int side : {32, 8, 100, 33}) {
        CAPTURE(side);
        const Picture& picture = scene->Frame(7, side, side);
        CHECK(picture.Row(0)[0] == quarters[0]);
        CHECK(picture.Row(side / 4)[side - 1] == quarters[1]);
        CHECK(picture.Row(side - 1)[side / 4] == quarters[2]);
        CHECK(picture.Row(side - 1)[side - 1] == quarters[3]);
    }
}

TEST_CASE("a film is played frame by frame, again and again") {
    for (const bool is422 : {false, true}) {
        CAPTURE(is422);
        const TestFile file(L"film.y4m", Film(is422));
        std::string error;
        const auto scene = OpenFilm(file.path(), error);
        CAPTURE(error);
        REQUIRE(scene);
        for (const unsigned number : {0u, 1u, 2u, 5u}) {
            CAPTURE(number);
            const Picture& picture = scene->Frame(number, 8, 8);
            if (number % 2 == 0) {
                CHECK(IsNear(picture.Row(0)[0], Rgb(255, 0, 0), 3));
                CHECK(IsNear(picture.Row(7)[7], Rgb(255, 0, 0), 3));
            } else {
                CHECK(IsNear(picture.Row(0)[0], Rgb(128, 128, 128), 3));
                CHECK(IsNear(picture.Row(7)[7], Rgb(0, 0, 255), 3));
            }
        }
    }
}

TEST_CASE("files that are no film are refused with a reason") {
    const std::pair<const char*, const char*> rows[] = {
        {"", "is no film"},
        {"YUV4MPEG2 W4 H4 C420jpeg", "is no film"},
        {"YUV4MPEG2 W4 H4 C444\nFRAME\n", "is no film"},
        {"YUV4MPEG2 W0 H4 C420\nFRAME\n", "is no film"},
        {"YUV4MPEG2 W99999 H4 C420\nFRAME\n", "is no film"},
        {"YUV4MPEG2 W4 H4 C420p10\nFRAME\n", "is no film"},
        {"YUV4MPEG2 W4 H4 C420\n", "no whole frame"},
        {"YUV4MPEG2 W4 H4 C420\nFRAME\n0123456789", "no whole frame"}};
    for (const auto& [content, reason] : rows) {
        CAPTURE(content);
        const TestFile file(L"bad.y4m", content);
        std::string error;
        CHECK_FALSE(OpenFilm(file.path(), error));
        CHECK(error.find(reason) != std::string::npos);
    }
}

TEST_CASE("pixels are packed as the format says, padding included") {
    Picture picture;
    picture.Resize(3, 2);
    const Pixel colors[6] = {Rgb(255, 0, 0),     Rgb(0, 255, 0), Rgb(0, 0, 255),
                             Rgb(255, 255, 255), Rgb(8, 4, 8),   Rgb(0, 0, 0)};
    std::copy(colors, colors + 6, picture.pixels.begin());
    // Red, green and blue of the upper row: luma 82, 145, 41 (BT.601, studio range); chroma of the first pair
    // is that of both.
    const std::pair<Format, std::vector<std::uint16_t>> rows[] = {
        {{Layout::Rgb555, 3, 2, true}, {0x7C00, 0x03E0, 0x001F, 0, 0x7FFF, 0x0401, 0, 0}},
        {{Layout::Rgb555, 3, 2, false}, {0x7FFF, 0x0401, 0, 0, 0x7C00, 0x03E0, 0x001F, 0}},
        {{Layout::Rgb565, 3, 2, true}, {0xF800, 0x07E0, 0x001F, 0, 0xFFFF, 0x0821, 0, 0}},
        {{Layout::Yuy2, 3, 2, true}, {0x4852, 0x8891, 0xF029, 0x6E29, 0x80EB, 0x8016, 0x8010, 0x8010}}};
    for (const auto& [format, words] : rows) {
        CAPTURE(static_cast<int>(format.layout));
        CHECK(format.Stride() == 8);
        std::vector<BYTE> sample(static_cast<std::size_t>(format.SampleSize()), 0xEE);
        Pack(picture, format, sample.data());
        for (std::size_t index = 0; index < words.size(); ++index) {
            CAPTURE(index);
            const int word = sample[2 * index] | sample[2 * index + 1] << 8;
            const bool isYuv = format.layout == Layout::Yuy2;
            // Rounding may differ by one in either byte.
            if (isYuv) {
                CHECK(std::abs((word & 255) - (words[index] & 255)) <= 1);
                CHECK(std::abs((word >> 8) - (words[index] >> 8)) <= 1);
            } else {
                CHECK(word == words[index]);
            }
        }
    }
}

TEST_CASE("properties act on the picture as they should") {
    struct Row {
        const char* name;
        long value;
        Pixel before, after;
        bool isStill;
    };
    const Row rows[] = {{"brightness", 100, Rgb(100, 50, 0), Rgb(228, 178, 128), false},
                        {"brightness", -100, Rgb(200, 100, 255), Rgb(72, 0, 127), false},
                        {"contrast", 0, Rgb(200, 10, 90), Rgb(128, 128, 128), false},
                        {"contrast", 200, Rgb(138, 118, 128), Rgb(148, 108, 128), false},
                        {"saturation", 0, Rgb(255, 0, 0), Rgb(77, 77, 77), false},
                        {"colorEnable", 0, Rgb(0, 255, 0), Rgb(150, 150, 150), false},
                        {"saturation", 200, Rgb(140, 120, 120), Rgb(154, 114, 114), false},
                        {"gamma", 200, Rgb(64, 128, 0), Rgb(128, 181, 0), false},
                        {"flash", 1, Rgb(10, 20, 30), Rgb(74, 84, 94), true},
                        {"flash", 1, Rgb(10, 20, 30), Rgb(10, 20, 30), false},
                        {"hue", 90, Rgb(10, 20, 30), Rgb(10, 20, 30), true}};
    for (const Row& row : rows) {
        CAPTURE(row.name);
        CAPTURE(row.value);
        PropertyTable properties;
        properties.Find(row.name)->value = row.value;
        Look look;
        const Picture seen = Plain(row.before);
        const Picture& shown = look.Apply(seen, properties, row.isStill);
        CAPTURE(shown.Row(3)[3]);
        CHECK(IsNear(shown.Row(3)[3], row.after, 2));
    }
}

TEST_CASE("zoom shows the middle larger, and a wrong focus blurs") {
    Picture seen = Plain(Rgb(0, 0, 0), 64, 64);
    seen.Fill(24, 24, 40, 40, Rgb(255, 255, 255));
    PropertyTable properties;
    Look look;
    const auto isWhite = [&](int x, int y) {
        return look.Apply(seen, properties, false).Row(y)[x] == Rgb(255, 255, 255);
    };
    CHECK(isWhite(24, 24));
    CHECK_FALSE(isWhite(20, 20));
    properties.Find("zoom")->value = 2;
    CHECK(isWhite(16, 16));
    CHECK(isWhite(47, 47));
    CHECK_FALSE(isWhite(15, 16));
    CHECK_FALSE(isWhite(48, 47));
    properties.Find("zoom")->value = 8;
    CHECK(isWhite(0, 0));
    CHECK(isWhite(63, 63));
    properties.Find("zoom")->value = 1;

    properties.Find("focusFixed")->value = 180;
    CHECK(isWhite(24, 24));  // focus is automatic
    properties.Find("focus")->value = 0;
    CHECK_FALSE(isWhite(24, 24));
    const int edge = Red(look.Apply(seen, properties, false).Row(32)[24]);
    CHECK(edge > 90);
    CHECK(edge < 165);
    properties.Find("focusFixed")->value = 150;
    CHECK(isWhite(24, 24));
}

TEST_CASE("the driver judges what a property is set to") {
    struct Row {
        PropertySet set;
        long number, value, flags;
        HRESULT result;
    };
    constexpr HRESULT kNone = static_cast<HRESULT>(0x80070490);
    constexpr auto kAmp = PropertySet::VideoProcAmp, kControl = PropertySet::CameraControl;
    const Row rows[] = {{kAmp, 0, -100, 2, S_OK},
                        {kAmp, 0, 100, 2, S_OK},
                        {kAmp, 0, 101, 2, E_INVALIDARG},
                        {kAmp, 0, -101, 2, E_INVALIDARG},
                        {kAmp, 0, 0, 1, E_INVALIDARG},
                        {kAmp, 0, 0, 0, E_INVALIDARG},
                        {kAmp, 7, 3000, 1, S_OK},
                        {kAmp, 7, 3050, 2, E_INVALIDARG},
                        {kAmp, 7, 3000, 3, E_INVALIDARG},
                        {kAmp, 8, 1, 2, S_OK},
                        {kAmp, 9, 0, 2, kNone},
                        {kAmp, -1, 5, 2, kNone},
                        {kControl, 0, 180, 2, S_OK},
                        {kControl, 3, 8, 2, S_OK},
                        {kControl, 3, 0, 2, E_INVALIDARG},
                        {kControl, 71, 1000, 2, S_OK},
                        {kControl, 71, 1001, 2, E_INVALIDARG},
                        {kControl, 72, 0, 2, kNone},
                        {kControl, -1, 0, 2, kNone},
                        {kControl, 50, 8, 2, S_OK},
                        {kControl, 7, 2, 2, E_INVALIDARG}};
    PropertyTable table;
    for (const Row& row : rows) {
        CAPTURE(row.number);
        CAPTURE(row.value);
        const Property* property = table.Find(row.set, row.number);
        const long before = property ? property->value : 0;
        CHECK(table.Set(row.set, row.number, row.value, row.flags) == row.result);
        if (property) CHECK(property->value == (row.result == S_OK ? row.value : before));
    }
}
