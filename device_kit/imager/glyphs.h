// A small fixed font, so that scenes and stamps need no graphics system.
#pragma once

#include <cstdint>
#include <string_view>

#include "grey_picture.h"

namespace imvoxa {

constexpr int kGlyphColumns = 5;
constexpr int kGlyphRows = 7;
constexpr int kGlyphAdvance = 6;  // from one character to the next, in dots of the font

// Pixels from the left of the first to the right of the last character of a line, with dots of `scale`
// pixels.
inline int TextWidth(std::wstring_view line, int scale) {
    return line.empty() ? 0 : (static_cast<int>(line.size()) * kGlyphAdvance - 1) * scale;
}

// Whether column 0..4 (from the left) of row 0..6 (from the top) of the character is inked. Letters have
// one case; a character that the font lacks is a box.
bool GlyphDot(wchar_t character, int column, int row);

// Calls paint(pixel) for each inked pixel of one line of text whose top-left corner is at (left, top).
template <typename Paint>
void PaintText(GreyPicture& picture, int left, int top, int scale, std::wstring_view line, Paint paint) {
    for (const wchar_t character : line) {
        for (int row = 0; row < kGlyphRows; ++row) {
            for (int column = 0; column < kGlyphColumns; ++column) {
                if (!GlyphDot(character, column, row)) continue;
                const int x = left + column * scale;
                const int y = top + row * scale;
                picture.Paint(x, y, x + scale, y + scale, paint);
            }
        }
        left += kGlyphAdvance * scale;
    }
}

}  // namespace imvoxa
