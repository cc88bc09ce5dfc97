// Text for camSnapPictureWithText, without composing its five arguments by hand. C++17, header only.
//
//     ocellus::PictureText text(L"Ward 7\n12:30", font);
//     text.At(ocellus::TextPosition::BottomRight)
//         .Color(RGB(255, 255, 0))
//         .Outline(ocellus::StampColor::Black)
//         .Background(ocellus::StampColor::None);
//     camResult result = text.Snap(L"\\My Documents\\a.jpg", 0);
#pragma once

#include <ocellus/cam.h>

#include <string>
#include <string_view>

namespace ocellus {

// Where the block of lines stands. Lines are aligned to that side one by one.
enum class TextPosition : UINT_PTR {
    TopLeft = 0,
    TopCentre = 1,
    TopRight = 2,
    MiddleLeft = 4,
    MiddleCentre = 5,
    MiddleRight = 6,
    BottomLeft = 8,
    BottomCentre = 9,
    BottomRight = 10,
};

// The colours that an outline or a background box can have.
enum class StampColor : UINT_PTR {
    InverseOfText = 0,  // 255 minus each component of the text colour
    Black = 1,
    Grey = 2,
    Silver = 3,
    White = 4,
    Red = 5,
    Magenta = 6,
    Orange = 7,
    Yellow = 8,
    Brown = 9,
    Green = 10,
    Blue = 11,
    Cyan = 12,
    Violet = 13,
    None = 15,  // the box is not filled, the outline is not drawn
};

// The colour argument: the text colour (its top byte is left out), and how outline and box are coloured.
constexpr UINT_PTR PackColors(COLORREF text, StampColor outline, StampColor background) {
    return (text & 0x00FFFFFF) | static_cast<UINT_PTR>(outline) << 24 |
           static_cast<UINT_PTR>(background) << 28;
}

// The five text arguments in their order, each as wide as a pointer.
struct TextArguments {
    UINT_PTR text;  // const wchar_t*
    UINT_PTR length;
    UINT_PTR position;
    UINT_PTR color;
    UINT_PTR font;  // HFONT
};

// One text and how it looks: white with a black outline and no box, top-left, unless told otherwise. Owns its
// characters, not the font. Not for use by several threads at once.
class PictureText {
  public:
    // Lines are separated by line feeds; empty ones are not drawn, but count for the height of the block.
    // `font` must live until the picture has been taken; null stands for the system's own, and for no text at
    // all with the imager camera.
    explicit PictureText(std::wstring_view text, HFONT font = nullptr) : text_(text), font_(font) {}

    PictureText& At(TextPosition position) {
        position_ = position;
        return *this;
    }
    PictureText& Color(COLORREF color) {
        color_ = color;
        return *this;
    }
    PictureText& Outline(StampColor outline) {
        outline_ = outline;
        return *this;
    }
    PictureText& Background(StampColor background) {
        background_ = background;
        return *this;
    }

    // Valid as long as this object is neither changed nor destroyed.
    TextArguments Arguments() const {
        return {reinterpret_cast<UINT_PTR>(text_.c_str()), text_.size(), static_cast<UINT_PTR>(position_),
                PackColors(color_, outline_, background_), reinterpret_cast<UINT_PTR>(font_)};
    }

    // camSnapPictureWithText with this text; see there for the other arguments, results and threads. Both
    // cameras copy the text before this returns.
    camResult Snap(const wchar_t* fileName, int mode) const {
        const TextArguments a = Arguments();
        return camSnapPictureWithText(fileName, mode, a.text, a.length, a.position, a.color, a.font);
    }

  private:
    std::wstring text_;
    HFONT font_;
    TextPosition position_ = TextPosition::TopLeft;
    COLORREF color_ = RGB(255, 255, 255);
    StampColor outline_ = StampColor::Black;
    StampColor background_ = StampColor::None;
};

}  // namespace ocellus
