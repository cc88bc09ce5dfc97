// What the imager sees, and how its settings act on the picture. Knows nothing of any operating system.
#pragma once

#include <string_view>

#include "grey_picture.h"

namespace imvoxa {

enum class Scene {
    Barcode,  // a label with a Code 128 barcode that moves to and fro
    Page      // a page of text that scrolls
};

// What the barcode of the scene says.
inline constexpr char kBarcodeText[] = "OCELLUS2";

struct Look {
    int exposurePercent = 100;  // 100: as the scene was lit
    bool illumination = false;
    bool aimer = false;       // a bright cross in the middle
    bool blackWhite = false;  // each pixel black or white
};

// Draws the whole picture, whose width is a multiple of 320 and whose height is three quarters of it. A
// frame number always gives the same picture.
void DrawScene(Scene scene, unsigned frame, const Look& look, GreyPicture& picture);

// Where the imager library stamps text.
enum class StampPosition : unsigned {
    TopLeft = 0,
    TopRight = 1,
    BottomRight = 2,
    BottomLeft = 3,
    TopCentre = 4,
    BottomCentre = 5,
    Centre = 6
};

// Inverts the picture below the text, whose lines, separated by line feeds, are `lineHeight` pixels high.
void StampText(GreyPicture& picture, std::wstring_view text, StampPosition position, int lineHeight);

}  // namespace imvoxa
