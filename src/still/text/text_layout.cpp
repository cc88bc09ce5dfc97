#include "still/text/text_layout.h"

#include <algorithm>
#include <cstring>

namespace cam::still {
namespace {

constexpr wchar_t kLineFeed = 10;
constexpr wchar_t kCarriageReturn = 13;

constexpr std::uint32_t Rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8 | blue << 16;
}

// By code. Code 14 has no colour of its own as an outline; it is black like the box.
constexpr std::uint32_t kStampColors[16] = {
    0,  // inverse of the text colour
    Rgb(0, 0, 0),
    Rgb(128, 128, 128),
    Rgb(192, 192, 192),
    Rgb(255, 255, 255),
    Rgb(255, 0, 0),
    Rgb(255, 0, 255),
    Rgb(255, 165, 0),
    Rgb(255, 255, 0),
    Rgb(165, 42, 42),
    Rgb(0, 255, 0),
    Rgb(0, 0, 255),
    Rgb(0, 255, 255),
    Rgb(238, 130, 238),
    Rgb(0, 0, 0),
    Rgb(0, 0, 0),
};

// A position code is a row of three columns: 0 to 2 at the top, 4 to 6 in the middle, 8 to 10 at the bottom.
enum class Column : std::uint32_t { Left = 0, Centre = 1, Right = 2 };
enum class Band : std::uint32_t { Top = 0, Middle = 1, Bottom = 2 };
constexpr std::uint32_t kColumnBits = 3;
constexpr std::uint32_t kBandShift = 2;
constexpr std::uint32_t kLastPosition = 10;

constexpr std::uint32_t kTopMargin = 4;
constexpr std::uint32_t kBottomMargin = 3;
constexpr std::int32_t kOutline = 1;  // pixels around the text, and the gap between lines

bool IsPosition(std::uint32_t position) {
    return position <= kLastPosition && (position & kColumnBits) <= static_cast<std::uint32_t>(Column::Right);
}

// What a 32-bit register keeps.
std::int32_t Wrap(std::int64_t value) {
    return static_cast<std::int32_t>(value);
}

std::int32_t LineLeft(const ConstFrame& frame, Column column, std::int32_t textWidth) {
    switch (column) {
        case Column::Left:
            return kOutline;
        case Column::Centre:
            return Wrap(std::int64_t{frame.width} - textWidth) / 2;
        case Column::Right:
            break;
    }
    return Wrap(std::int64_t{frame.width} - textWidth - kOutline);
}

// Counted from the top of the picture as it is seen. Unsigned throughout, so that it may wrap.
std::int32_t LineTop(const ConstFrame& frame, Band band, std::uint32_t index, std::uint32_t lineCount,
                     std::uint32_t lineHeight) {
    const std::uint32_t above = index * lineHeight;
    const std::uint32_t block = lineCount * lineHeight;
    switch (band) {
        case Band::Top:
            return static_cast<std::int32_t>(above + kTopMargin);
        case Band::Middle:
            // Halved without a sign: a block taller than the picture ends up far below it.
            return static_cast<std::int32_t>((frame.rows() - block + 1) / 2 + above);
        case Band::Bottom:
            break;
    }
    return static_cast<std::int32_t>(frame.rows() - block - kBottomMargin + above);
}

// The bytes of the frame that surface row `row` stands for; none when the row begins outside the frame.
template <typename Byte>
std::span<Byte> BytesUnder(const BasicFrame<Byte>& frame, const TextBox& box, std::int32_t row) {
    const std::int64_t memoryRow =
        frame.isBottomUp() ? std::int64_t{box.top} + row : std::int64_t{box.top} + box.height - 1 - row;
    const std::int64_t offset = memoryRow * frame.stride + std::int64_t{box.left} * 2;
    const auto end = static_cast<std::int64_t>(frame.size());
    if (offset < 0 || offset >= end) return {};
    return frame.bytes.subspan(static_cast<std::size_t>(offset),
                               static_cast<std::size_t>(std::min(std::int64_t{box.width} * 2, end - offset)));
}

}  // namespace

std::uint32_t CountTextLines(std::wstring_view text) {
    return 1 + static_cast<std::uint32_t>(std::count(text.begin(), text.end(), kLineFeed));
}

std::optional<std::wstring_view> TextLines::Next() {
    while (*next == kLineFeed) ++next;
    if (!*next) return std::nullopt;
    const wchar_t* const line = next;
    while (*next && *next != kLineFeed) ++next;
    const std::wstring_view found(line, static_cast<std::size_t>(next - line));
    if (*next) *next++ = 0;
    return found;
}

std::wstring_view DrawnPart(std::wstring_view line) {
    if (line.ends_with(kCarriageReturn)) line.remove_suffix(1);
    return line;
}

StampColors TakeApart(std::uint32_t colorWord) {
    return {colorWord & 0xFFFFFF, static_cast<StampColorCode>(colorWord >> 24 & 15),
            static_cast<StampColorCode>(colorWord >> 28)};
}

std::uint32_t ColorOfCode(StampColorCode code, std::uint32_t textColor) {
    return code == StampColorCode::Inverse ? ~textColor & 0xFFFFFF
                                           : kStampColors[static_cast<std::uint32_t>(code)];
}

bool TextBox::isVisible(const ConstFrame& frame) const {
    const std::int32_t bottom = Wrap(std::int64_t{top} + height);
    return bottom >= 0 && top < Wrap(frame.rows());
}

std::optional<TextBox> PlaceLine(const ConstFrame& frame, std::uint32_t position, std::uint32_t index,
                                 std::uint32_t lineCount, TextExtent extent) {
    if (!IsPosition(position)) return std::nullopt;
    const std::uint32_t lineHeight = static_cast<std::uint32_t>(extent.height) + kOutline;
    const std::int32_t x = LineLeft(frame, static_cast<Column>(position & kColumnBits), extent.width);
    std::int32_t y = LineTop(frame, static_cast<Band>(position >> kBandShift), index, lineCount, lineHeight);
    if (frame.isBottomUp()) y = Wrap(std::int64_t{frame.rows()} - y - extent.height);

    std::int32_t right = Wrap(std::int64_t{x} + extent.width);
    if (right >= frame.width) right = Wrap(std::int64_t{frame.width} - kOutline);
    TextBox box;
    box.left = Wrap(std::int64_t{x} - kOutline);
    box.top = Wrap(std::int64_t{y} - kOutline);
    box.width = Wrap(std::int64_t{right} + kOutline - box.left);
    box.height = Wrap(std::int64_t{y} + extent.height + kOutline - box.top);
    return box;
}

void CopyToSurface(const ConstFrame& frame, const TextBox& box, const Frame& surface) {
    for (std::int32_t row = 0; row < box.height; ++row) {
        const auto under = BytesUnder(frame, box, row);
        if (!under.empty())
            std::memcpy(surface.MemoryRow(static_cast<std::uint32_t>(row)).data(), under.data(),
                        under.size());
    }
}

void CopyFromSurface(const Frame& frame, const TextBox& box, const ConstFrame& surface) {
    for (std::int32_t row = 0; row < box.height; ++row) {
        const auto under = BytesUnder(frame, box, row);
        if (!under.empty())
            std::memcpy(under.data(), surface.MemoryRow(static_cast<std::uint32_t>(row)).data(),
                        under.size());
    }
}

}  // namespace cam::still
