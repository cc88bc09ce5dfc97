// Where the lines of an overlay text go in a frame, and which bytes of the frame lie under them. Plain
// arithmetic, no drawing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/frame.h"

namespace cam::still {

// ---- The text ----------------------------------------------------------------------------------------

// One more than there are line feeds. Empty lines count here although none is ever drawn for them.
std::uint32_t CountTextLines(const wchar_t* text);

// Hands out the lines of a text one after another, empty ones left out. The text is overwritten: the line
// feed behind each line that was handed out becomes its terminating zero. A text that is only partly handed
// out is therefore shorter next time.
class TextLines {
  public:
    // `text` is not owned.
    explicit TextLines(wchar_t* text) : next_(text) {}

    // The next line, zero-terminated, or null.
    wchar_t* Next();

  private:
    wchar_t* next_;
};

struct TextLine {
    std::size_t measured = 0;  // characters that count for the width
    std::size_t drawn = 0;     // the same without a carriage return at the end
};
TextLine LengthOfLine(const wchar_t* line);

// ---- Colours ----------------------------------------------------------------------------------------

enum class StampColorCode : std::uint32_t { Inverse = 0, BlackBehind = 14, None = 15 };

// The colour word: text colour, outline code and background code.
struct StampColors {
    std::uint32_t text;  // red in the low byte, then green and blue
    StampColorCode outline;
    StampColorCode background;
};
StampColors TakeApart(std::uint32_t colorWord);

// The colour of a code, red in the low byte. Codes 14 and 15 are black.
std::uint32_t ColorOfCode(StampColorCode code, std::uint32_t textColor);

// ---- Places ----------------------------------------------------------------------------------------

struct TextFrame {
    std::int32_t width = 0;    // pixels
    std::int32_t height = 0;   // rows, positive: bottom-up
    std::uint32_t stride = 0;  // bytes

    std::uint32_t rows() const { return RowCount(height); }
};

struct TextExtent {
    std::int32_t width = 0;   // pixels
    std::int32_t height = 0;  // pixels
};

// The part of the frame that one line of text with its outline covers, in columns and in rows of memory. May
// reach beyond the picture on every side.
struct TextBox {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    // False for a box wholly above or below the picture.
    bool isVisible(const TextFrame& frame) const;
};

// The box of line `index` (from 0) of `lineCount`; nothing for a position code that is none. All arithmetic
// is that of 32-bit registers: whatever does not fit wraps, and a block of lines that is taller than the
// picture has no middle but one far outside.
std::optional<TextBox> PlaceLine(const TextFrame& frame, std::uint32_t position, std::uint32_t index,
                                 std::uint32_t lineCount, TextExtent extent);

// ---- Pixels ----------------------------------------------------------------------------------------

// Bytes from row to row of the drawing surface of a box: 16-bit pixels, an even number of them.
constexpr std::size_t SurfaceStride(std::int32_t boxWidth) {
    return (static_cast<std::size_t>(boxWidth) + 1) / 2 * 4;
}

// Copy the pixels under a box to its drawing surface and back. The surface's first row is the lowest one
// seen, whichever way up the frame is stored. A row that begins outside the frame is left out; one that
// begins inside is copied as it lies in memory, also where it runs into its neighbour, and never beyond the
// frame's end. `box` has a positive width and height; `surface` has box.height rows.
void CopyToSurface(const TextFrame& frame, const std::uint8_t* pixels, const TextBox& box,
                   std::uint8_t* surface);
void CopyFromSurface(const TextFrame& frame, std::uint8_t* pixels, const TextBox& box,
                     const std::uint8_t* surface);

}  // namespace cam::still
