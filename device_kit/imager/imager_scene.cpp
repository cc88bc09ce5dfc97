#include "imager_scene.h"

#include <string>

#include "code128.h"
#include "glyphs.h"

namespace imvoxa {
namespace {

constexpr int kUnitsAcross = 160;  // scenes are laid out in units, of which so many make the width
constexpr int kQuietModules = 10;

constexpr std::uint8_t kTable = 120;
constexpr std::uint8_t kPaper = 200;
constexpr std::uint8_t kInk = 40;
constexpr int kIlluminationGrey = 40;
constexpr std::uint8_t kAimerGrey = 250;
constexpr int kBlackBelow = 128;

constexpr const wchar_t* kPageLines[] = {
    L"OCELLUS DEVICE KIT",
    L"",
    L"This page stands before the imager and scrolls",
    L"by one dot a frame. Its letters are 5 dots wide",
    L"and 7 high: enough to judge a threshold, a",
    L"stamp and a saved picture by eye.",
    L"",
    L"ABCDEFGHIJKLMNOPQRSTUVWXYZ",
    L"0123456789 - . , : /",
    L"",
    L"Sphinx of black quartz, judge my vow.",
    L"",
};

const std::string barcodeWidths = Code128(kBarcodeText);

// To and fro between 0 and `reach`, one step a frame.
int Swing(unsigned frame, int reach) {
    const int step = static_cast<int>(frame % static_cast<unsigned>(2 * reach));
    return step < reach ? step : 2 * reach - step;
}

auto PaintWith(std::uint8_t grey) {
    return [grey](std::uint8_t& pixel) { pixel = grey; };
}

void DrawBarcode(unsigned frame, GreyPicture& picture) {
    const int unit = picture.width / kUnitsAcross;
    const int labelUnits = ModuleCount(barcodeWidths) + 2 * kQuietModules;
    const int left = Swing(frame, (kUnitsAcross - labelUnits) * unit);
    const int top = 25 * unit + Swing(frame, 20 * unit);
    const int right = left + labelUnits * unit;

    picture.Fill(0, 0, picture.width, picture.height, kTable);
    picture.Fill(left, top, right, top + 60 * unit, kPaper);
    int x = left + kQuietModules * unit;
    bool bar = true;
    for (const char width : barcodeWidths) {
        const int end = x + (width - '0') * unit;
        if (bar) picture.Fill(x, top + 5 * unit, end, top + 45 * unit, kInk);
        x = end;
        bar = !bar;
    }
    const std::wstring text(kBarcodeText, kBarcodeText + sizeof kBarcodeText - 1);
    PaintText(picture, (left + right - TextWidth(text, unit)) / 2, top + 49 * unit, unit, text,
              PaintWith(kInk));
}

void DrawPage(unsigned frame, GreyPicture& picture) {
    constexpr int kLinePitch = 11;  // dots from line to line
    constexpr int kLines = static_cast<int>(sizeof kPageLines / sizeof kPageLines[0]);
    const int dot = picture.width / (2 * kUnitsAcross);
    const int pitch = kLinePitch * dot;
    const int pageHeight = kLines * pitch;
    const int scrolled = static_cast<int>(frame % static_cast<unsigned>(kLines * kLinePitch)) * dot;

    picture.Fill(0, 0, picture.width, picture.height, kPaper);
    for (int y = -scrolled, line = 0; y < picture.height; y += pitch, line = (line + 1) % kLines) {
        if (y > -pageHeight) PaintText(picture, 10 * dot, y, dot, kPageLines[line], PaintWith(kInk));
    }
}

void DrawAimer(GreyPicture& picture) {
    const int unit = picture.width / kUnitsAcross;
    const int x = picture.width / 2;
    const int y = picture.height / 2;
    picture.Fill(x - 12 * unit, y, x + 12 * unit, y + unit, kAimerGrey);
    picture.Fill(x, y - 12 * unit, x + unit, y + 12 * unit, kAimerGrey);
}

}  // namespace

void DrawScene(Scene scene, unsigned frame, const Look& look, GreyPicture& picture) {
    if (scene == Scene::Barcode) {
        DrawBarcode(frame, picture);
    } else {
        DrawPage(frame, picture);
    }
    if (look.aimer) DrawAimer(picture);

    std::uint8_t seenAs[256];
    for (int grey = 0; grey < 256; ++grey) {
        int seen = (grey + (look.illumination ? kIlluminationGrey : 0)) * look.exposurePercent / 100;
        if (look.blackWhite) seen = seen < kBlackBelow ? 0 : 255;
        seenAs[grey] = static_cast<std::uint8_t>(seen > 255 ? 255 : seen);
    }
    for (std::uint8_t& pixel : picture.pixels) pixel = seenAs[pixel];
}

void StampText(GreyPicture& picture, std::wstring_view text, StampPosition position, int lineHeight) {
    const int dot = lineHeight > kGlyphRows ? lineHeight / (kGlyphRows + 1) : 1;
    const int pitch = (kGlyphRows + 1) * dot;
    const int margin = 2 * dot;
    int lines = 1;
    for (const wchar_t character : text) lines += character == L'\n';

    const bool atTop = position == StampPosition::TopLeft || position == StampPosition::TopCentre ||
                       position == StampPosition::TopRight;
    const bool inMiddle = position == StampPosition::Centre;
    const bool atLeft = position == StampPosition::TopLeft || position == StampPosition::BottomLeft;
    const bool atRight = position == StampPosition::TopRight || position == StampPosition::BottomRight;

    const int textHeight = lines * pitch - dot;
    int top = atTop      ? margin
              : inMiddle ? (picture.height - textHeight) / 2
                         : picture.height - textHeight - margin;
    for (; lines > 0; --lines, top += pitch) {
        const std::wstring_view line = text.substr(0, text.find(L'\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
        const int free = picture.width - TextWidth(line, dot);
        const int left = atLeft ? margin : atRight ? free - margin : free / 2;
        PaintText(picture, left, top, dot, line,
                  [](std::uint8_t& pixel) { pixel = static_cast<std::uint8_t>(255 - pixel); });
    }
}

}  // namespace imvoxa
