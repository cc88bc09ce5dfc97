// Lines, colours and places of an overlay text, and the copying between frame and drawing surface.
#include "still/text/text_layout.h"

#include <doctest/doctest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "guarded_memory.h"
#include "camverify/tables/stamping.h"

using cam::Frame;
using cam::test::Flush;
using cam::test::GuardedMemory;
using namespace cam::still;

namespace {

bool operator==(const TextBox& a, const TextBox& b) {
    return a.left == b.left && a.top == b.top && a.width == b.width && a.height == b.height;
}

Frame FrameOf(std::int32_t width, std::int32_t height, std::span<std::uint8_t> bytes = {}) {
    return {bytes, width, height, static_cast<std::uint32_t>(cam::RowStride(width))};
}

// The drawing surface of a box.
struct Surface {
    explicit Surface(const TextBox& box, std::uint8_t fill = 0)
        : bytes(cam::RowStride(box.width) * box.height, fill), frame(FrameOf(box.width, box.height, bytes)) {}

    std::vector<std::uint8_t> bytes;
    Frame frame;
};

}  // namespace

TEST_CASE("lines are handed out without the empty ones, which still count") {
    struct {
        std::wstring text;
        std::uint32_t count;
        std::vector<std::wstring> lines;
    } const cases[] = {
        {L"A", 1, {L"A"}},  {L"A\n\nB", 3, {L"A", L"B"}},       {L"\n\nA\n", 4, {L"A"}},
        {L"\n\n\n", 4, {}}, {L"A\r\nB\r", 2, {L"A\r", L"B\r"}}, {L"", 1, {}},
    };
    for (const auto& c : cases) {
        CAPTURE(c.count);
        std::wstring text = c.text;
        CHECK(CountTextLines(text) == c.count);
        TextLines lines(text.data());
        for (const std::wstring& expected : c.lines) {
            const auto line = lines.Next();
            REQUIRE(line);
            CHECK(*line == expected);
            CHECK(line->data()[line->size()] == 0);
        }
        CHECK(!lines.Next());
        CHECK(!lines.Next());
    }
}

TEST_CASE("a text that was handed out in part is cut behind that part") {
    std::wstring text = L"one\ntwo\nthree";
    TextLines lines(text.data());
    lines.Next();
    CHECK(std::wstring(text.c_str()) == L"one");
    CHECK(CountTextLines(text.c_str()) == 1);
}

TEST_CASE("one carriage return at the end is measured and not drawn") {
    CHECK(DrawnPart(L"abc") == L"abc");
    CHECK(DrawnPart(L"abc\r") == L"abc");
    CHECK(DrawnPart(L"a\rc\r\r") == L"a\rc\r");
    CHECK(DrawnPart(L"\r").empty());
    CHECK(DrawnPart(L"").empty());
}

TEST_CASE("the colour word names text, outline and background") {
    const StampColors colors = TakeApart(0x7C123456);
    CHECK(colors.text == 0x123456);
    CHECK(ColorOfCode(colors.outline, colors.text) == 0xFFFF00);     // cyan, blue in the high byte
    CHECK(ColorOfCode(colors.background, colors.text) == 0x00A5FF);  // orange
    for (std::uint32_t code = 0; code < 16; ++code) {
        CAPTURE(code);
        const std::uint32_t expected = code == 0 ? 0xEDCBA9 : tables::kColors[code];
        CHECK(ColorOfCode(TakeApart(code << 28).background, 0x123456) == expected);
        CHECK(ColorOfCode(TakeApart(code << 24).outline, 0x123456) == expected);
    }
}

TEST_CASE("every position, both ways up") {
    // One line of 20 by 10 pixels in 100 by 50; box with the outline around it.
    struct {
        std::uint32_t position;
        std::int32_t left, topDown, bottomUp;
    } const cases[] = {
        {0, 0, 3, 35},   {1, 39, 3, 35}, {2, 78, 3, 35}, {4, 0, 19, 19},  {5, 39, 19, 19},
        {6, 78, 19, 19}, {8, 0, 35, 3},  {9, 39, 35, 3}, {10, 78, 35, 3},
    };
    for (const auto& c : cases) {
        CAPTURE(c.position);
        const auto down = PlaceLine(FrameOf(100, -50), c.position, 0, 1, {20, 10});
        REQUIRE(down);
        CHECK(*down == TextBox{c.left, c.topDown, 22, 12});
        const auto up = PlaceLine(FrameOf(100, 50), c.position, 0, 1, {20, 10});
        REQUIRE(up);
        CHECK(*up == TextBox{c.left, c.bottomUp, 22, 12});
    }
    // Third of four lines: two line heights of 11 below the first, of a block of 44.
    CHECK(PlaceLine(FrameOf(100, -90), 0, 2, 4, {20, 10})->top == 25);
    CHECK(PlaceLine(FrameOf(100, -90), 4, 2, 4, {20, 10})->top == 44);
    CHECK(PlaceLine(FrameOf(100, -90), 8, 2, 4, {20, 10})->top == 64);
    CHECK(PlaceLine(FrameOf(100, 90), 8, 2, 4, {20, 10})->top == 14);
    for (const std::uint32_t code : tables::kNoPositions) {
        CHECK(!PlaceLine(FrameOf(100, 50), code, 0, 1, {20, 10}));
    }
}

TEST_CASE("text wider than the picture runs out on the left, never on the right") {
    const Frame frame = FrameOf(100, -50);
    CHECK(*PlaceLine(frame, 0, 0, 1, {200, 10}) == TextBox{0, 3, 100, 12});
    CHECK(*PlaceLine(frame, 1, 0, 1, {200, 10}) == TextBox{-51, 3, 151, 12});
    CHECK(*PlaceLine(frame, 2, 0, 1, {200, 10}) == TextBox{-102, 3, 202, 12});
    // One that just fits, and one that just does not.
    CHECK(*PlaceLine(frame, 0, 0, 1, {98, 10}) == TextBox{0, 3, 100, 12});
    CHECK(*PlaceLine(frame, 0, 0, 1, {99, 10}) == TextBox{0, 3, 100, 12});
}

TEST_CASE("lines outside the picture") {
    for (const std::int32_t height : {50, -50}) {
        CAPTURE(height);
        const Frame frame = FrameOf(100, height);
        // Ten lines of 11 rows: the top ones run out below, the bottom ones above, and a middle there is not.
        for (std::uint32_t index = 0; index < 10; ++index) {
            CAPTURE(index);
            CHECK(PlaceLine(frame, 0, index, 10, {20, 10})->isVisible(frame) == (index <= 4));
            CHECK(PlaceLine(frame, 8, index, 10, {20, 10})->isVisible(frame) == (index >= 5));
            CHECK(!PlaceLine(frame, 4, index, 10, {20, 10})->isVisible(frame));
        }
    }
    // A box that only touches the first row from above counts as visible although none of its rows is copied.
    CHECK(TextBox{0, -12, 22, 12}.isVisible(FrameOf(100, -50)));
    CHECK(!TextBox{0, -13, 22, 12}.isVisible(FrameOf(100, -50)));
    CHECK(!TextBox{0, 50, 22, 12}.isVisible(FrameOf(100, -50)));
}

TEST_CASE("a box comes back as it was, and its first surface row is the lowest one seen") {
    for (const std::int32_t height : {4, -4}) {
        std::vector<std::uint8_t> pixels(4 * cam::RowStride(5));
        const Frame frame = FrameOf(5, height, pixels);
        for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i + 1);
        const auto before = pixels;
        const TextBox box = {1, 1, 3, 2};
        const Surface surface(box);
        CopyToSurface(frame, box, surface.frame);
        const std::size_t lowest = height > 0 ? 1 : 2;
        CHECK(std::memcmp(&surface.bytes[0], &pixels[lowest * frame.stride + 2], 6) == 0);
        CHECK(std::memcmp(&surface.bytes[8], &pixels[(3 - lowest) * frame.stride + 2], 6) == 0);
        CopyFromSurface(frame, box, surface.frame);
        CHECK(pixels == before);
    }
}

TEST_CASE("what hangs out on the left lands at the end of the row before, and nowhere for the first row") {
    std::vector<std::uint8_t> pixels(3 * 8, 0);
    const TextBox box = {-1, 0, 3, 3};
    CopyFromSurface(FrameOf(4, -3, pixels), box, Surface(box, 0xEE).frame);
    const std::vector<std::uint8_t> expected = {
        0,    0,    0,    0,    0, 0, 0xEE, 0xEE,  // row 0: left out, but for row 1's
        0xEE, 0xEE, 0xEE, 0xEE, 0, 0, 0xEE, 0xEE,  //
        0xEE, 0xEE, 0xEE, 0xEE, 0, 0, 0,    0};
    CHECK(pixels == expected);
}

TEST_CASE("no box reaches outside the frame") {
    static constexpr std::int32_t kSides[] = {1, 2, 3, 7, 50, 1600};
    static constexpr std::int32_t kExtents[] = {0, 1, 2, 9, 49, 51, 400, 5000};
    for (const std::int32_t width : kSides) {
        for (const std::int32_t rows : {1, 2, 9, 50}) {
            for (const std::int32_t height : {rows, -rows}) {
                Frame frame = FrameOf(width, height);
                const GuardedMemory pixels(frame.size(), width % 2 ? Flush::AtStart : Flush::AtEnd);
                frame.bytes = {pixels.data(), static_cast<std::size_t>(frame.size())};
                for (const std::int32_t cx : kExtents) {
                    for (const std::int32_t cy : {0, 1, 12, 70}) {
                        for (std::uint32_t position = 0; position <= 10; ++position) {
                            for (const std::uint32_t index : {0u, 1u, 5u}) {
                                const auto box = PlaceLine(frame, position, index, 6, {cx, cy});
                                if (!box || !box->isVisible(frame)) continue;
                                REQUIRE(box->width > 0);
                                REQUIRE(box->height > 0);
                                const Surface surface(*box);
                                CopyToSurface(frame, *box, surface.frame);
                                CopyFromSurface(frame, *box, surface.frame);
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST_CASE("measures at the limits of a register wrap instead of overflowing") {
    static constexpr std::int32_t kMeasures[] = {0, 1, INT_MAX - 2, INT_MAX - 1, INT_MAX};
    static constexpr std::uint32_t kCounts[] = {1, 0x7FFFFFFF, 0xFFFFFFFF};
    std::uint8_t pixels[4] = {1, 2, 3, 4};
    for (const std::int32_t height : {1, -1, INT_MAX, INT_MIN}) {
        const Frame frame = {pixels, 1, height, 4};
        for (std::uint32_t position = 0; position <= 10; ++position) {
            for (const std::int32_t cx : kMeasures) {
                for (const std::int32_t cy : kMeasures) {
                    for (const std::uint32_t count : kCounts) {
                        for (const std::uint32_t index : {0u, count - 1}) {
                            const auto box = PlaceLine(frame, position, index, count, {cx, cy});
                            if (!box || !box->isVisible(frame) || height > 1 || height < -1) continue;
                            if (box->width <= 0 || box->width > 64 || box->height <= 0 || box->height > 64)
                                continue;
                            const Surface surface(*box);
                            CopyToSurface(frame, *box, surface.frame);
                            CopyFromSurface(frame, *box, surface.frame);
                        }
                    }
                }
            }
        }
    }
    CHECK(pixels[0] == 1);
    CHECK(pixels[3] == 4);
    // The middle of a block that is taller than the picture: half of the wrapped difference, far below.
    CHECK(PlaceLine(FrameOf(100, -50), 4, 0, 10, {20, 10})->top == 2147483618 - 1);
}
