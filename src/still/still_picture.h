// What the still image sink knows of a picture and hands to the image writer.
#pragma once

#include <windows.h>

#include <memory>

#include "base/frame.h"

namespace cam::still {

enum FormatCode : LONG { kFormatNone = 0, kFormatYuy2 = 2, kFormatRgb565 = 4 };

// BITMAPINFOHEADER followed by the three colour masks: 52 bytes, as they stand in a BMP file.
struct BitmapInfoHeader565 {
    BITMAPINFOHEADER header;
    DWORD redMask;
    DWORD greenMask;
    DWORD blueMask;
};
static_assert(sizeof(BitmapInfoHeader565) == 52 && sizeof(BITMAPFILEHEADER) == 14,
              "as they stand in a BMP file");

constexpr WORD kBitmapFileType = 0x4D42;  // "BM"

// Owned by the sink. Its format is written when a type is agreed upon, the rest by the *streaming* thread, which
// takes over what the setters have left and renders.
struct StillPicture {
    LONG formatCode = kFormatNone;
    DWORD sampleSize = 0;  // bytes
    LONG width = 0;        // pixels
    LONG height = 0;       // rows; positive: bottom-up, negative: top-down
    DWORD stride = 0;      // bytes from row to row, a multiple of 4
    std::unique_ptr<wchar_t[]> fileName;
    BYTE qualityLevel = 0;
    std::unique_ptr<wchar_t[]> overlayText;  // consumed by the next picture
    DWORD textPosition = 0;
    BITMAPFILEHEADER fileHeader = {kBitmapFileType, 0, 0, 0, 0};
    std::unique_ptr<BitmapInfoHeader565> infoHeader;  // rebuilt for every picture
    HFONT textFont = nullptr;                         // the application's
    DWORD colorWord = 0;
};

}  // namespace cam::still
