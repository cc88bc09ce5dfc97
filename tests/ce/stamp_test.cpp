// Text stamped into pictures on ARM code, with a font whose glyphs are known: every pixel of the picture is
// compared with what it has to show.
#include <tiffio.h>

#include "camera_fixture.h"
#include "tables/stamping.h"

using namespace ce;

namespace {

constexpr u32 kFont = 0x000F0042;

// The formats of the still pin, by their indices.
const std::vector<VideoFormat> kStills = {
    {kSubtypeYuy2, 160, 120}, {kSubtype565, 320, 240}, {kSubtypeYuy2, 161, -101}};

struct Color {
    int r, g, b;
    static Color Of(u32 word) {
        return {static_cast<int>(word & 255), static_cast<int>(word >> 8 & 255),
                static_cast<int>(word >> 16 & 255)};
    }
};

constexpr u32 kNone = 15;

struct Stamp {
    std::u16string text;
    u32 position = 0;
    u32 colors = 0x10FFFFFF;
};

std::vector<std::u16string> Tokens(const std::u16string& text) {
    std::vector<std::u16string> tokens;
    std::u16string token;
    for (const char16_t unit : text + u'\n') {
        if (unit != u'\n') {
            token.push_back(unit);
        } else if (!token.empty()) {
            tokens.push_back(std::exchange(token, {}));
        }
    }
    return tokens;
}

// What a colour is in 5, 6 and 5 bits, spread again to 8.
void Paint(Picture& picture, int x, int y, const Color& color) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
    const int components[] = {color.r, color.g, color.b};
    for (int i = 0; i < 3; ++i) {
        const int top = i == 1 ? 63 : 31;
        const int level = components[i] >> (i == 1 ? 2 : 3);
        picture
            .rgb[3 * (static_cast<size_t>(y) * static_cast<size_t>(picture.width) + static_cast<size_t>(x)) +
                 static_cast<size_t>(i)] = static_cast<u8>(std::lround(level * 255.0 / top));
    }
}

void PaintGlyphs(Picture& picture, const std::u16string& text, int left, int top, int right,
                 const Color& color) {
    for (size_t i = 0; i < text.size(); ++i) {
        for (u32 y = 0; y < kGlyphHeight; ++y) {
            for (u32 x = 0; x < kGlyphWidth; ++x) {
                const int at = left + static_cast<int>(kGlyphWidth * i + x);
                if (at < right && GlyphDot(text[i], x, y))
                    Paint(picture, at, top + static_cast<int>(y), color);
            }
        }
    }
}

// Stamps the text into a decoded picture, in its own rows from the top.
void Apply(const Stamp& stamp, Picture& picture, int width) {
    const int cellWidth = static_cast<int>(kGlyphWidth), cellHeight = static_cast<int>(kGlyphHeight),
              lineHeight = cellHeight + 1;
    const auto count = static_cast<int>(1 + std::count(stamp.text.begin(), stamp.text.end(), u'\n'));
    const Color ink = Color::Of(stamp.colors);
    const auto colorOf = [&](u32 code) {
        return code == 0 ? Color{255 - ink.r, 255 - ink.g, 255 - ink.b} : Color::Of(tables::kColors[code]);
    };
    const u32 outline = stamp.colors >> 24 & 15, background = stamp.colors >> 28;
    int line = 0;
    for (std::u16string token : Tokens(stamp.text)) {
        const int textWidth = static_cast<int>(token.size()) * cellWidth;
        const u32 column = stamp.position % 4, row = stamp.position / 4;
        const int x = column == 0 ? 1 : column == 1 ? (width - textWidth) / 2 : width - textWidth - 1;
        // In the middle, a block that is taller than the picture is nowhere.
        if (row == 1 && count * lineHeight > picture.height + 1) return;
        const int y = line * lineHeight + (row == 0   ? 4
                                           : row == 1 ? (picture.height - count * lineHeight + 1) / 2
                                                      : picture.height - count * lineHeight - 3);
        ++line;
        if (token.ends_with(u'\r')) token.pop_back();
        const int right = std::min(x + textWidth, width - 1) + 1;
        if (background != kNone) {
            for (int row2 = y - 1; row2 < y + cellHeight + 1; ++row2) {
                for (int column2 = x - 1; column2 < right; ++column2)
                    Paint(picture, column2, row2, colorOf(background));
            }
        }
        if (outline != kNone) {
            for (int down = -1; down <= 1; ++down) {
                for (int across = -1; across <= 1; ++across) {
                    if (down || across)
                        PaintGlyphs(picture, token, x + across, y + down, right, colorOf(outline));
                }
            }
        }
        PaintGlyphs(picture, token, x, y, right, ink);
    }
}

// A bilevel picture as libtiff reads it, in black and white.
Picture ReadTiff(const std::string& path) {
    Picture picture;
    TIFF* file = TIFFOpen(path.c_str(), "r");
    REQUIRE(file);
    u32 width = 0, height = 0;
    u16 bits = 0, photometric = 0;
    TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(file, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &photometric);
    CHECK(bits == 1);
    picture.width = static_cast<int>(width);
    picture.height = static_cast<int>(height);
    std::vector<u8> line(static_cast<size_t>(TIFFScanlineSize(file)));
    for (u32 y = 0; y < height; ++y) {
        REQUIRE(TIFFReadScanline(file, line.data(), y) == 1);
        for (u32 x = 0; x < width; ++x) {
            const bool set = (line[x / 8] >> (7 - x % 8) & 1) != 0;
            const u8 level = set == (photometric == PHOTOMETRIC_MINISBLACK) ? 255 : 0;
            picture.rgb.insert(picture.rgb.end(), 3, level);
        }
    }
    TIFFClose(file);
    return picture;
}

struct Stamping : Fixture {
    void SnapStamped(std::u16string_view file, const Stamp& stamp, u32 mode = 0) {
        const u32 name = process.NewText(file), text = process.NewText(stamp.text);
        auto& posted = process.Attachment<Windows>("windows").posted;
        posted.clear();
        REQUIRE(Cam("SnapPictureWithText", {name, mode, text, static_cast<u32>(stamp.text.size()),
                                            stamp.position, stamp.colors, kFont}) == 0);
        process.heap.Free(text);  // the camera has a copy
        for (int i = 0; i < 100 && posted.empty(); ++i) process.scheduler.Sleep(20);
        CHECK(posted.size() == 1);
        process.heap.Free(name);
    }
    std::string Path(const char* name) const { return process.folder + "/" + name; }
    void CheckEqual(const Picture& picture, const Picture& expected, int width) {
        REQUIRE(picture.width == expected.width);
        REQUIRE(picture.height == expected.height);
        int different = 0;
        std::pair<int, int> first{-1, -1};
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < width; ++x) {
                if (std::memcmp(picture.At(x, y), expected.At(x, y), 3) != 0 && different++ == 0)
                    first = {x, y};
            }
        }
        CAPTURE(first.first);
        CAPTURE(first.second);
        CHECK(different == 0);
    }
    // Takes the picture with the text and compares it with one without.
    void CheckStamp(const Picture& plain, const Stamp& stamp) {
        CAPTURE(stamp.position);
        CAPTURE(stamp.colors);
        SnapStamped(u"\\stamped.png", stamp);
        Picture expected = plain;
        Apply(stamp, expected, expected.width);
        CheckEqual(Decode(Path("stamped.png")), expected, expected.width);
    }
};

}  // namespace

TEST_CASE_FIXTURE(Stamping, "text stands at its place in every kind of frame") {
    Start();
    for (u32 index = 0; index < kStills.size(); ++index) {
        CAPTURE(index);
        REQUIRE(Cam("SetResolution", {index}) == 0);
        REQUIRE(Snap(u"\\plain.png") == 0);
        const Picture plain = Decode(Path("plain.png"));
        REQUIRE(Compare(plain, kStills[index]).worst == 0);
        // An empty line collapses, but counts; the carriage return is measured, but not drawn.
        for (const u32 position : tables::kPositions) CheckStamp(plain, {u"AB\n\nCDE f\r\nG", position});
        // Wider than the picture, from its left edge.
        CheckStamp(plain, {std::u16string(45, u'W') + u"\nx", 0});
        // Taller than the picture.
        for (const u32 position : {0u, 5u, 10u})
            CheckStamp(plain,
                       {u"1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n14\n15\n16\n17\n18\n19\n20", position});
    }
    End();
}

TEST_CASE_FIXTURE(Stamping, "background, outline and text have their colours") {
    Start();
    REQUIRE(Snap(u"\\plain.png") == 0);
    const Picture plain = Decode(Path("plain.png"));
    for (u32 code = 0; code < 16; ++code) {
        const u32 outline = (code + 5) % 16;
        if (outline == 14) continue;
        CheckStamp(plain, {u"Hg", 5, code << 28 | outline << 24 | 0x2080C4});
    }
    End();
}

TEST_CASE_FIXTURE(Stamping, "a line is drawn eight times around its place, and once upon it") {
    Start();
    auto& drawing = process.Attachment<Drawing>("drawing");
    drawing.texts.clear();
    SnapStamped(u"\\t.png", {u"Ab\r\n", 0, 0x45030201});
    std::vector<TextOut> expected;
    constexpr u32 kTransparent = 1, kRed = 0x0000FF;
    for (const auto& [left, top] : {std::pair{0, 0}, {1, 0}, {2, 0}, {0, 1}, {2, 1}, {0, 2}, {1, 2}, {2, 2}})
        expected.push_back({u"Ab", left, top, 0, kRed, kTransparent, kFont});
    // The highest byte of the text's colour is set, which the system overlooks.
    expected.push_back({u"Ab", 1, 1, 0, 0xFF030201, kTransparent, kFont});
    CHECK(drawing.texts == expected);
    REQUIRE(Cam("ShutDown") == 0);
}

TEST_CASE_FIXTURE(Stamping, "text that cannot be stamped leaves the picture as it is") {
    Start();
    REQUIRE(Snap(u"\\plain.png") == 0);
    const Picture plain = Decode(Path("plain.png"));
    const size_t open = process.Handles();
    auto& drawing = process.Attachment<Drawing>("drawing");
    const auto staysPlain = [&](const Stamp& stamp) {
        SnapStamped(u"\\unstamped.png", stamp);
        CheckEqual(Decode(Path("unstamped.png")), plain, plain.width);
        CHECK(drawing.texts.empty());
        CHECK(process.Handles() == open);
    };
    for (const u32 position : tables::kNoPositions) staysPlain({u"no\nplace", position});
    drawing.refuseSections = true;
    staysPlain({u"no\nmemory", 0});
    drawing.refuseSections = false;
    staysPlain({u"", 0});
    // And the next text is stamped.
    CheckStamp(plain, {u"yes", 0});
    End();
}

TEST_CASE_FIXTURE(Stamping, "in a black and white picture text is black on white, whatever its colours are") {
    Start();
    for (u32 index = 0; index < kStills.size(); ++index) {
        CAPTURE(index);
        const int width = kStills[index].width;
        REQUIRE(Cam("SetResolution", {index}) == 0);
        for (const u32 quality : {0u, 2u}) {
            REQUIRE(Snap(u"\\plain.tif", quality) == 0);
            const Picture plain = ReadTiff(Path("plain.tif"));
            const auto dots = [&](u8 level) { return std::count(plain.rgb.begin(), plain.rgb.end(), level); };
            // The threshold leaves both, for the stamp to stand out from; a frame from the top down has no
            // threshold and is white.
            CHECK((kStills[index].height > 0 ? dots(0) > 300 : dots(0) == 0));
            CHECK(dots(255) > 300);
            for (const u32 position : tables::kPositions) {
                CAPTURE(position);
                SnapStamped(u"\\stamped.tif", {u"Tif\nxy", position, 0xFFFFFFFF}, quality);
                Picture expected = plain;
                Apply({u"Tif\nxy", position, 0x41000000}, expected, width);
                const Picture stamped = ReadTiff(Path("stamped.tif"));
                CheckEqual(stamped, expected, width);
                if (position == 5) CheckEqual(Decode(Path("stamped.tif")), stamped, width);
            }
        }
    }
    End();
}
