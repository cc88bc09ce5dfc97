// Text stamped into frames by the system's own drawing.
#include "still/text/text_stamp.h"

#include <doctest/doctest.h>

#include <ocellus/cam_text.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "refused_call.h"
#include "still/image_writer.h"
#include "still/test_picture.h"
#include "still/text/text_layout.h"
#include "camverify/tables/stamping.h"

using namespace cam::still;
using ocellus::PackColors;
using ocellus::StampColor;

namespace {

constexpr unsigned kGround = 0x39E7;  // a grey unlike any test colour
constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr unsigned kRedWord = 0xF800;
constexpr unsigned kBlueWord = 0x001F;
constexpr unsigned kYellowWord = 0xFFE0;

// Hard edges: every pixel is of the text's colour or none of its business.
class Font {
  public:
    explicit Font(LONG height) {
        LOGFONTW wanted = {};
        wanted.lfHeight = height;
        wanted.lfQuality = NONANTIALIASED_QUALITY;
        std::wcscpy(wanted.lfFaceName, L"DejaVu Sans");
        font = CreateFontIndirectW(&wanted);
    }
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;
    ~Font() { DeleteObject(font); }
    HFONT get() const { return font; }

    TextExtent Measure(const std::wstring& line) const {
        const HDC dc = CreateCompatibleDC(nullptr);
        const HGDIOBJ before = SelectObject(dc, font);
        SIZE size = {0, 0};
        GetTextExtentPoint32W(dc, line.c_str(), static_cast<int>(line.size()), &size);
        SelectObject(dc, before);
        DeleteDC(dc);
        return {size.cx, size.cy};
    }

  private:
    HFONT font;
};

struct Stamp {
    std::wstring text;
    DWORD position = 0;
    UINT_PTR colors = PackColors(kRed, StampColor::Yellow, StampColor::Blue);
};

void SetText(TestPicture& picture, const Stamp& stamp, const Font& font) {
    picture.picture.overlayText = Copy(stamp.text);
    picture.picture.textPosition = stamp.position;
    picture.picture.colorWord = static_cast<DWORD>(stamp.colors);
    picture.picture.textFont = font.get();
}

// A grey picture with the text in it. The writer ignores what stamping answers; here it is wanted.
TestPicture Stamped(LONG width, LONG height, const Stamp& stamp, const Font& font,
                    HRESULT* result = nullptr) {
    TestPicture picture(PixelFormat::Rgb565, width, height);
    picture.fill(kGround);
    picture.writer().Prepare();
    SetText(picture, stamp, font);
    const HRESULT stamped = StampText(picture.picture, picture.frame);
    if (result)
        *result = stamped;
    else
        CHECK(stamped == S_OK);
    CHECK(picture.marginIsIntact());
    return picture;
}

std::vector<WORD> Seen(TestPicture& picture) {
    std::vector<WORD> words;
    for (LONG y = 0; y < static_cast<LONG>(picture.rows()); ++y) {
        for (LONG x = 0; x < picture.frame.width; ++x) words.push_back(picture.word(x, y));
    }
    return words;
}

int CountOf(TestPicture& picture, unsigned word) {
    const auto words = Seen(picture);
    return static_cast<int>(std::count(words.begin(), words.end(), word));
}

}  // namespace

TEST_CASE("the box stands where the position says, the same both ways up, and nothing else changes") {
    const Font font(-14);
    const std::wstring text = L"Ward 7";
    const TextExtent extent = font.Measure(text);
    REQUIRE(extent.width > 20);
    REQUIRE(extent.height > 10);
    const LONG width = 161;
    const LONG rows = 100;
    for (const DWORD position : tables::kPositions) {
        CAPTURE(position);
        const LONG lefts[] = {0, (width - extent.width) / 2 - 1, width - extent.width - 2};
        const LONG tops[] = {3, (rows - extent.height) / 2 - 1, rows - extent.height - 5};
        const RECT box = {lefts[position % 4], tops[position / 4], lefts[position % 4] + extent.width + 2,
                          tops[position / 4] + extent.height + 2};
        for (const LONG height : {rows, -rows}) {
            CAPTURE(height);
            TestPicture picture = Stamped(width, height, {text, position}, font);
            CHECK(!picture.picture.overlayText);
            int outside = 0;
            int strange = 0;
            for (LONG y = 0; y < rows; ++y) {
                for (LONG x = 0; x < width; ++x) {
                    const WORD word = picture.word(x, y);
                    const bool inBox = x >= box.left && x < box.right && y >= box.top && y < box.bottom;
                    if (!inBox)
                        outside += word != kGround;
                    else
                        strange += word != kRedWord && word != kYellowWord && word != kBlueWord;
                }
            }
            CHECK(outside == 0);
            CHECK(strange == 0);
            CHECK(picture.word(box.left, box.top) == kBlueWord);
            CHECK(picture.word(box.right - 1, box.bottom - 1) == kBlueWord);
            CHECK(CountOf(picture, kRedWord) > 30);
            CHECK(CountOf(picture, kYellowWord) > 30);
        }
        TestPicture up = Stamped(width, rows, {text, position}, font);
        TestPicture down = Stamped(width, -rows, {text, position}, font);
        CHECK(Seen(up) == Seen(down));
    }
}

TEST_CASE("without box and outline only the letters' pixels change; the outline surrounds them by one") {
    const Font font(-16);
    TestPicture bare =
        Stamped(120, 40, {L"Ax", 5, PackColors(kRed, StampColor::None, StampColor::None)}, font);
    CHECK(CountOf(bare, kRedWord) > 20);
    CHECK(CountOf(bare, kRedWord) + CountOf(bare, kGround) == 120 * 40);
    TestPicture outlined =
        Stamped(120, 40, {L"Ax", 5, PackColors(kRed, StampColor::Blue, StampColor::None)}, font);
    int wrong = 0;
    for (LONG y = 1; y < 39; ++y) {
        for (LONG x = 1; x < 119; ++x) {
            bool beside = false;
            for (LONG dy = -1; dy <= 1; ++dy) {
                for (LONG dx = -1; dx <= 1; ++dx) beside |= bare.word(x + dx, y + dy) == kRedWord;
            }
            const unsigned expected = bare.word(x, y) == kRedWord ? kRedWord : beside ? kBlueWord : kGround;
            wrong += outlined.word(x, y) != expected;
        }
    }
    CHECK(wrong == 0);
}

TEST_CASE("empty lines are not drawn but take room in a block that is not at the top") {
    const Font font(-12);
    auto seen = [&](const wchar_t* text, DWORD position, StampColor background = StampColor::Blue) {
        const UINT_PTR colors = PackColors(kRed, StampColor::Yellow, background);
        TestPicture picture = Stamped(100, 120, {text, position, colors}, font);
        return Seen(picture);
    };
    CHECK(seen(L"A\n\nB", 0) == seen(L"A\nB", 0));
    CHECK(seen(L"\nA\nB\n", 1) == seen(L"A\nB", 1));
    CHECK(seen(L"A\n\nB", 8) == seen(L"A\nB\n", 8));
    CHECK(seen(L"A\n\nB", 8) != seen(L"A\nB", 8));
    // Nor is the carriage return of a line's end, for which the box is wider.
    CHECK(seen(L"A\r\nB\r", 0, StampColor::None) == seen(L"A\nB", 0, StampColor::None));
    CHECK(seen(L"\n\n", 0) == std::vector<WORD>(100 * 120, kGround));
    // An invalid position is never noticed when there is nothing to place.
    TestPicture nothing = Stamped(100, 120, {L"\n\n", 3}, font);
    CHECK(!nothing.picture.overlayText);
}

TEST_CASE("an invalid position leaves the picture and keeps the text, cut behind its first line") {
    const Font font(-12);
    for (const DWORD position : tables::kNoPositions) {
        CAPTURE(position);
        HRESULT result = S_OK;
        TestPicture picture = Stamped(100, 60, {L"one\ntwo", position}, font, &result);
        CHECK(result == E_INVALIDARG);
        CHECK(Seen(picture) == std::vector<WORD>(100 * 60, kGround));
        REQUIRE(picture.picture.overlayText);
        CHECK(std::wstring(picture.picture.overlayText.get()) == L"one");
        // The next picture has it.
        picture.picture.textPosition = 0;
        CHECK(StampText(picture.picture, picture.frame) == S_OK);
        TestPicture expected = Stamped(100, 60, {L"one", 0}, font);
        CHECK(Seen(picture) == Seen(expected));
        CHECK(!picture.picture.overlayText);
    }
}

TEST_CASE("text that does not fit stays within the frame") {
    const Font wide(-30);
    const Font tall(-200);
    for (const LONG width : {1, 2, 3, 20, 61}) {
        for (const LONG rows : {1, 2, 15, 64}) {
            for (const LONG height : {rows, -rows}) {
                for (const DWORD position : tables::kPositions) {
                    Stamped(width, height, {L"wider than that\nby far", position}, wide);
                    Stamped(width, height, {L"W\nW\nW\nW", position}, tall);
                }
            }
        }
    }
    // Cut off at the right border when aligned left: the last column still belongs to the box.
    TestPicture left = Stamped(60, -64, {L"wider than that", 0}, wide);
    CHECK(CountOf(left, kGround) == 60 * (64 - wide.Measure(L"w").height - 2));
}

TEST_CASE("a TIFF picture is stamped black on white whatever the colours") {
    const Font font(-14);
    TestPicture picture(PixelFormat::Rgb565, 96, 64, L"a.tif");
    picture.fill(0x0000);
    SetText(picture, {L"X", 0, PackColors(kRed, StampColor::Red, StampColor::Blue)}, font);
    picture.writer().Prepare();
    CHECK(picture.word(0, 3) == 0xFFFF);
    const TextExtent extent = font.Measure(L"X");
    int black = 0;
    for (LONG y = 3; y < 5 + extent.height; ++y) {
        for (LONG x = 0; x < 2 + extent.width; ++x) black += picture.word(x, y) == 0;
    }
    CHECK(black > 20);
    CHECK(black < (extent.width + 2) * (extent.height + 2) * 3 / 4);
    CHECK(CountOf(picture, 0x0000) == black);  // the rest, thresholded before, is white
    CHECK(CountOf(picture, 0xFFFF) == 96 * 64 - black);
}

TEST_CASE("without a surface to draw on stamping ends with 87 and the text stays") {
    const Font font(-12);
    TestPicture picture(PixelFormat::Rgb565, 100, 60);
    picture.fill(kGround);
    picture.writer().Prepare();
    SetText(picture, {L"one\ntwo", 0}, font);
    // All GDI objects that a process may have but the device context and the brush.
    std::vector<HGDIOBJ> hoard;
    while (const HGDIOBJ object = CreateSolidBrush(0)) {
        hoard.push_back(object);
        REQUIRE(hoard.size() < 100000);
    }
    HRESULT result = S_OK;
    for (int spare = 0; spare < 8; ++spare) {
        SetText(picture, {L"one\ntwo", 0}, font);
        result = StampText(picture.picture, picture.frame);
        if (result != HRESULT{ERROR_INVALID_PARAMETER}) break;
        REQUIRE(picture.picture.overlayText);
        CHECK(std::wstring(picture.picture.overlayText.get()) == L"one");
        CHECK(Seen(picture) == std::vector<WORD>(100 * 60, kGround));
        // One object more for the next attempt.
        DeleteObject(hoard.back());
        hoard.pop_back();
    }
    CHECK(result == S_OK);
    for (const HGDIOBJ object : hoard) DeleteObject(object);
}

extern "C" decltype(&GetTextExtentExPointW) importOfTextExtent TEST_IMPORT(GetTextExtentExPointW, 28);

namespace {
BOOL WINAPI RefuseToMeasure(HDC, const wchar_t*, int, int, int*, int*, SIZE*) {
    return FALSE;
}
}  // namespace

TEST_CASE("a text that cannot be measured stays for the next picture") {
    const Font font(-12);
    HRESULT result = S_OK;
    const Redirected refusal(importOfTextExtent, RefuseToMeasure);
    TestPicture picture = Stamped(100, 60, {L"one", 0}, font, &result);
    CHECK(result == ERROR_INVALID_PARAMETER);
    CHECK(picture.picture.overlayText);
    CHECK(Seen(picture) == std::vector<WORD>(100 * 60, kGround));
}

TEST_CASE("a line that would need an impossible surface ends stamping with 87") {
    const Font huge(-30000);
    HRESULT result = S_OK;
    TestPicture picture = Stamped(100, 60, {L"impossibly large", 2}, huge, &result);
    CHECK(result == ERROR_INVALID_PARAMETER);
    CHECK(picture.picture.overlayText);
    CHECK(Seen(picture) == std::vector<WORD>(100 * 60, kGround));
}

TEST_CASE("no stamp costs a drawing object, failed or not") {
    const Font font(-12);
    // More than a process can have, were one of each stamp left over.
    for (int i = 0; i < 17000; ++i) {
        TestPicture picture(PixelFormat::Rgb565, 8, 8);
        picture.writer().Prepare();
        SetText(picture, {L"i", i % 2 ? 0u : 3u}, font);
        const HRESULT result = StampText(picture.picture, picture.frame);
        if (result != (i % 2 ? S_OK : E_INVALIDARG)) FAIL("stamp ", i, " answered ", result);
    }
}

TEST_CASE("the companion header packs the arguments") {
    static_assert(PackColors(0xFF123456, StampColor::Violet, StampColor::None) == 0xFD123456);
    static_assert(PackColors(RGB(1, 2, 3), StampColor::InverseOfText, StampColor::White) == 0x40030201);
    ocellus::PictureText text(L"two\nlines", reinterpret_cast<HFONT>(UINT_PTR{7}));
    text.At(ocellus::TextPosition::MiddleRight)
        .Color(kRed)
        .Outline(StampColor::None)
        .Background(StampColor::Cyan);
    const ocellus::TextArguments a = text.Arguments();
    CHECK(std::wstring(reinterpret_cast<const wchar_t*>(a.text), a.length) == L"two\nlines");
    CHECK(a.position == 6);
    CHECK(a.color == 0xCF0000FF);
    CHECK(a.font == 7);
}
