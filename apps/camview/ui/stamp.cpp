#include "ui/stamp.h"

#include <algorithm>

#include "base/unique_resource.h"
#include "model/choices.h"
#include "model/name_pattern.h"

namespace camview {

namespace {

// The names of fonts for vertical text begin with "@".
int CALLBACK AddFamily(const LOGFONTW* font, const TEXTMETRICW*, DWORD, LPARAM names) {
    if (font->lfFaceName[0] != L'@')
        reinterpret_cast<std::vector<std::wstring>*>(names)->push_back(font->lfFaceName);
    return 1;
}

}  // namespace

std::vector<std::wstring> FontFamilies() {
    std::vector<std::wstring> names;
    LOGFONTW any = {};
    any.lfCharSet = DEFAULT_CHARSET;
    const HDC screen = GetDC(nullptr);
    EnumFontFamiliesExW(screen, &any, AddFamily, reinterpret_cast<LPARAM>(&names), 0);
    ReleaseDC(nullptr, screen);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

LOGFONTW StampFont(const ViewSettings& settings) {
    LOGFONTW font = {};
    font.lfHeight = -settings.fontPixels;
    font.lfWeight = settings.fontBold ? FW_BOLD : FW_NORMAL;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfQuality = ANTIALIASED_QUALITY;
    settings.fontName.copy(font.lfFaceName, LF_FACESIZE - 1);
    return font;
}

std::wstring StampWords(const ViewSettings& settings) {
    std::wstring text = settings.stamp;
    std::erase(text, L'\r');
    return text.empty() ? text : ExpandPattern(text, LocalTime()).value_or(text);
}

void DrawStampExample(HDC context, const RECT& area, const ViewSettings& settings) {
    constexpr int kSteps = 32;
    for (int step = 0; step < kSteps; ++step) {
        RECT part = area;
        part.left = area.left + MulDiv(area.right - area.left, step, kSteps);
        part.right = area.left + MulDiv(area.right - area.left, step + 1, kSteps);
        const BYTE grey = static_cast<BYTE>(70 + 4 * step);
        SetDCBrushColor(context, RGB(grey, grey, grey + 6));
        FillRect(context, &part, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    const std::wstring text = StampWords(settings);
    if (text.empty()) return;
    const LOGFONTW wanted = StampFont(settings);
    const cam::UniqueFont stampFont(CreateFontIndirectW(&wanted));
    const HGDIOBJ before = SelectObject(context, stampFont.get());
    const int column = settings.position % 3, line = settings.position / 3;
    const UINT align = column == 0 ? DT_LEFT : column == 1 ? DT_CENTER : DT_RIGHT;
    RECT needed = area;
    DrawTextW(context, text.c_str(), -1, &needed, align | DT_NOPREFIX | DT_CALCRECT);
    const LONG width = needed.right - needed.left, height = needed.bottom - needed.top;
    RECT place = area;
    place.left += (area.right - area.left - width) * column / 2;
    place.top += (area.bottom - area.top - height) * line / 2;
    place.right = place.left + width;
    place.bottom = place.top + height;
    const COLORREF ink = kTextColors[settings.color].color;
    const auto colorOf = [&](const StampChoice& choice) {
        const COLORREF inverse = ~ink & 0xFFFFFF;
        return choice.code == ocellus::StampColor::InverseOfText ? inverse : choice.color;
    };
    const StampChoice& edge = kStampColors[settings.outline];
    const StampChoice& box = kStampColors[settings.background];
    if (box.code != ocellus::StampColor::None) {
        SetDCBrushColor(context, colorOf(box));
        FillRect(context, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    SetBkMode(context, TRANSPARENT);
    const auto draw = [&](COLORREF textColor, int x, int y) {
        RECT moved = place;
        OffsetRect(&moved, x, y);
        SetTextColor(context, textColor);
        DrawTextW(context, text.c_str(), -1, &moved, align | DT_NOPREFIX | DT_NOCLIP);
    };
    if (edge.code != ocellus::StampColor::None) {
        for (const POINT shift : {POINT{-1, 0}, POINT{1, 0}, POINT{0, -1}, POINT{0, 1}})
            draw(colorOf(edge), shift.x, shift.y);
    }
    draw(ink, 0, 0);
    SelectObject(context, before);
}

}  // namespace camview
