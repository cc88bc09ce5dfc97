// Where the lines of an overlay text go in a frame, and which bytes of the frame lie under them. Plain
// arithmetic, no drawing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/frame.h"

namespace cam::still {

// ---- The text ----------------------------------------------------------------------------------------

// One more than there are line feeds. Empty lines count here although none is ever drawn for them.
std::uint32_t CountTextLines(std::wstring_view text);

// Hands out the lines of a text one after another, empty ones left out. The text is overwritten: the line
// feed after each line that was handed out becomes a terminating zero. A text that is only partly handed
// out is therefore shorter next time.
class TextLines {
  public:
    // `text` is zero-terminated and not owned.
    explicit TextLines(wchar_t* text) : next(text) {}

    std::optional<std::wstring_view> Next();

  private:
    wchar_t* next;
};

// What is drawn of a line: all of it but one carriage return at its end, which counts for the width all the
// same.
std::wstring_view DrawnPart(std::wstring_view line);

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
    bool isVisible(const ConstFrame& frame) const;
};

// The box of line `index` (from 0) of `lineCount`; nothing for a position code that is none. Reads the
// frame's measures only. All arithmetic is that of 32-bit registers: whatever does not fit wraps, and a block
// of lines that is taller than the picture has no middle but one far outside.
std::optional<TextBox> PlaceLine(const ConstFrame& frame, std::uint32_t position, std::uint32_t index,
                                 std::uint32_t lineCount, TextExtent extent);

// ---- Pixels ----------------------------------------------------------------------------------------

// Copy the pixels under a box to its drawing surface and back. The surface is a bottom-up frame of the box's
// measures: its first row in memory is the lowest one seen, whichever way up the picture is stored. A row
// that begins outside the picture is left out; one that begins inside is copied as it lies in memory, also
// where it runs into its neighbour, and never past the picture's end. `box` has a positive width and height.
void CopyToSurface(const ConstFrame& frame, const TextBox& box, const Frame& surface);
void CopyFromSurface(const Frame& frame, const TextBox& box, const ConstFrame& surface);

}  // namespace cam::still
