// Text stamped into pictures: at its place, in its colours, into the next picture and no other.
#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "tables/stamping.h"

namespace verify {

namespace {

constexpr wchar_t kKitFormats[] =
    L"{\"preview\": {\"width\": 160, \"height\": 120}, \"stillFormats\": [{\"width\": 320, \"height\": 240}, "
    L"{\"width\": 321, "
    L"\"height\": 241, \"topDown\": true}, {\"width\": 320, \"height\": 240, \"subtype\": \"RGB565\"}]}";

constexpr COLORREF kMagenta = RGB(255, 0, 255);
constexpr UINT_PTR kNone = 15, kBlack = 1;

constexpr UINT_PTR ColorWord(COLORREF text, UINT_PTR outline, UINT_PTR background) {
    return text | outline << 24 | background << 28;
}

constexpr WORD To565(COLORREF color) {
    return static_cast<WORD>((color & 0xF8) << 8 | (color >> 5 & 0x7E0) | (color >> 19 & 0x1F));
}

class Font {
  public:
    explicit Font(LONG pixels) {
        LOGFONTW font = {};
        font.lfHeight = -pixels;
        font.lfWeight = FW_BOLD;
        font.lfQuality = NONANTIALIASED_QUALITY;
        handle = CreateFontIndirectW(&font);
        Need("the system makes a font", handle != nullptr);
    }
    ~Font() { DeleteObject(handle); }
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

    HFONT handle;
};

// A camera whose pictures are caught.
struct Stamping {
    Session session;
    Callbacks callbacks;
    Font font{16};

    Stamping() { Start(); }
    explicit Stamping(const wchar_t* scenario) : session{std::wstring(scenario)} { Start(); }
    void Start() { session.NeedPreview(); }

    // The next picture, with that text.
    const SeenFrame& Snap(std::wstring_view text, UINT_PTR position, UINT_PTR colors,
                          const wchar_t* file = nullptr) {
        stillFrames.Reset();
        const int taken = captured;
        Need("a picture is triggered",
             cam.SnapPictureWithText(file, 0, reinterpret_cast<UINT_PTR>(text.data()), text.size(), position,
                                     colors, reinterpret_cast<UINT_PTR>(font.handle)),
             camResult{camOk});
        Need("message 2623 comes", WaitForCaptured(taken + 1));
        Need("the callback is called", stillFrames.Count(), LONG{1});
        return stillFrames.Frames()[0];
    }
};

struct Box {
    LONG left = 0x7FFFFFFF, top = 0x7FFFFFFF, right = -1, bottom = -1;
    int pixels = 0;
};

// Where pixels of that very colour are.
Box Find(const SeenFrame& frame, COLORREF color) {
    Box box;
    for (LONG y = 0; y < frame.Rows(); ++y) {
        for (LONG x = 0; x < frame.width; ++x) {
            if (frame.At(x, y) != To565(color)) continue;
            box.left = x < box.left ? x : box.left;
            box.right = x > box.right ? x : box.right;
            box.top = y < box.top ? y : box.top;
            box.bottom = y > box.bottom ? y : box.bottom;
            ++box.pixels;
        }
    }
    return box;
}

void CheckPosition(Stamping& stamping, UINT_PTR position) {
    const SeenFrame& frame = stamping.Snap(L"##\n##", position, ColorWord(kMagenta, kNone, kBlack));
    const Box box = Find(frame, kMagenta);
    Need("letters are there", box.pixels > 20);
    Equal("third of the width", (box.left + box.right) / 2 * 3 / frame.width,
          static_cast<LONG>(position % 4));
    Equal("third of the height", (box.top + box.bottom) / 2 * 3 / frame.Rows(),
          static_cast<LONG>(position / 4));
    Holds("two lines", box.bottom - box.top > 16 && box.bottom - box.top < 60);
    // The background reaches one pixel farther than the text.
    Holds("the background above the text",
          frame.At((box.left + box.right) / 2, box.top > 0 ? box.top - 1 : 0) == 0);
}

void Positions() {
    Stamping stamping;
    if (Find(stamping.Snap(L"", 0, 0), kMagenta).pixels > 0)
        Skip("the camera looks at something in pure magenta");
    for (const UINT_PTR position : tables::kPositions) {
        const Row row("position " + std::to_string(position));
        CheckPosition(stamping, position);
    }
    {
        const Row row("the picture after a stamped one");
        Equal("letters", Find(stamping.Snap(L"", 0, 0), kMagenta).pixels, 0);
    }
    for (const UINT_PTR position : tables::kNoPositions) {
        const Row row("no position, " + std::to_string(position));
        Equal("letters",
              Find(stamping.Snap(L"##", position, ColorWord(kMagenta, kNone, kBlack)), kMagenta).pixels, 0);
    }
    const Row row("no text");
    Equal("letters", Find(stamping.Snap(L"\n\n", 5, ColorWord(kMagenta, kNone, kNone)), kMagenta).pixels, 0);
}

void EveryFrame() {
    Stamping stamping(kKitFormats);
    for (int index = 0; index < 3; ++index) {
        if (index > 0) Need("a resolution", cam.SetResolution(index), camResult{camOk});
        for (const UINT_PTR position : {0, 5, 10}) {
            const Row row("resolution " + std::to_string(index) + ", position " + std::to_string(position));
            CheckPosition(stamping, position);
        }
    }
    // Taller and wider than the picture: what does not fit is left out.
    std::wstring tall;
    for (int line = 0; line < 60; ++line) tall += L"#\n";
    Equal("letters of a block too tall for the middle",
          Find(stamping.Snap(tall, 5, ColorWord(kMagenta, kNone, kNone)), kMagenta).pixels, 0);
    Holds("letters of a block that begins at the top",
          Find(stamping.Snap(tall, 0, ColorWord(kMagenta, kNone, kNone)), kMagenta).pixels > 20);
    const Box wide =
        Find(stamping.Snap(std::wstring(200, L'#'), 0, ColorWord(kMagenta, kNone, kNone)), kMagenta);
    Holds("letters of a line that is too wide", wide.pixels > 20 && wide.bottom < 40);
}

void Colors() {
    // By their codes, as COLORREFs; 0 is the inverse of the text's.
    constexpr COLORREF kText = RGB(0x48, 0x90, 0x28);
    const auto colorOf = [](UINT_PTR code) -> COLORREF {
        return code == 0 ? RGB(0xB7, 0x6F, 0xD7) : tables::kColors[code];
    };
    Stamping stamping(kKitFormats);
    // The chart stands still in the middle, so what differs there is the stamp.
    const auto countIn = [](const SeenFrame& frame, COLORREF color) {
        int pixels = 0;
        for (LONG y = 90; y < 150; ++y) {
            for (LONG x = 100; x < 220; ++x) pixels += frame.At(x, y) == To565(color);
        }
        return pixels;
    };
    const SeenFrame plain = stamping.Snap(L"", 5, 0);
    for (UINT_PTR code = 0; code < 15; ++code) {
        const UINT_PTR outline = (code + 5) % 16;
        const Row row("background " + std::to_string(code) + ", outline " + std::to_string(outline));
        const SeenFrame& frame = stamping.Snap(L"Hg", 5, ColorWord(kText, outline, code));
        Holds("letters", countIn(frame, kText) > countIn(plain, kText) + 10);
        Holds("background", countIn(frame, colorOf(code)) > countIn(plain, colorOf(code)) + 10);
        if (outline != kNone && To565(colorOf(outline)) != To565(colorOf(code))) {
            Holds("outline", countIn(frame, colorOf(outline)) > countIn(plain, colorOf(outline)) + 10);
        }
    }
    const Row row("neither background nor outline");
    const SeenFrame& frame = stamping.Snap(L"Hg", 5, ColorWord(kText, kNone, kNone));
    const int letters = countIn(frame, kText) - countIn(plain, kText);
    int different = 0;
    for (LONG y = 90; y < 150; ++y) {
        for (LONG x = 100; x < 220; ++x) different += frame.At(x, y) != plain.At(x, y);
    }
    Holds("letters", letters > 10);
    Equal("pixels that differ", different, letters);
}

void BlackAndWhite() {
    Stamping stamping(kKitFormats);
    const TestFile file(L"text.tif");
    const SeenFrame plain = stamping.Snap(L"", 5, 0, file.path());
    const SeenFrame& frame = stamping.Snap(L"########", 5, 0xFF000000 | kMagenta, file.path());
    int black = 0, white = 0, other = 0;
    for (LONG y = 90; y < 150; ++y) {
        for (LONG x = 100; x < 220; ++x) {
            const WORD pixel = frame.At(x, y);
            if (pixel != plain.At(x, y)) ++(pixel == 0 ? black : white);
            other += pixel != 0 && pixel != 0xFFFF;
        }
    }
    Equal("pixels that are neither black nor white", other, 0);
    Holds("black letters on a white box", black > 10 && white > 10);
    Holds("a file", FileExists(file.path()));
}

constexpr char kFonts[] = "install a font of the system's; else a fault of the library";

constexpr Check kChecks[] = {
    {"a text stands at its position, in the next picture and no other", kCamera | kDShow, Positions, kFonts},
    {"text stands upright in every kind of frame, and what does not fit is left out", kKit, EveryFrame,
     kFonts},
    {"text, outline and background have the colours of their codes", kKit, Colors, kFonts},
    {"in a black and white picture text is black on white", kKit, BlackAndWhite, kFonts},
};

}  // namespace

const Group kText = {"text", "text stamped into pictures", kChecks};

}  // namespace verify
