// How a prepared frame describes itself to the system's drawing and to the readers of a BMP file.
#pragma once

#include <windows.h>

namespace cam::still {

constexpr WORD kBitsPerPixel = 16;  // of a prepared frame: RGB565

// BITMAPINFOHEADER followed by the three colour masks.
struct BitmapInfo565 {
    BITMAPINFOHEADER header;
    DWORD redMask;
    DWORD greenMask;
    DWORD blueMask;
};
static_assert(sizeof(BitmapInfo565) == 52 && sizeof(BITMAPFILEHEADER) == 14, "as they stand in a BMP file");

// A height above 0 is bottom-up.
constexpr BitmapInfo565 MakeBitmapInfo(LONG width, LONG height) {
    constexpr LONG kPixelsPerMeter = 7559;  // 192 dots per inch
    BitmapInfo565 info = {};
    info.header.biSize = sizeof info.header;
    info.header.biWidth = width;
    info.header.biHeight = height;
    info.header.biPlanes = 1;
    info.header.biBitCount = kBitsPerPixel;
    info.header.biCompression = BI_BITFIELDS;
    info.header.biXPelsPerMeter = kPixelsPerMeter;
    info.header.biYPelsPerMeter = kPixelsPerMeter;
    info.redMask = 0xF800;
    info.greenMask = 0x07E0;
    info.blueMask = 0x001F;
    return info;
}

}  // namespace cam::still
