// Where the imager library's pictures go: files and device contexts.
#pragma once

#include <windows.h>

#include "grey_picture.h"

namespace imvoxa {

// An existing file is replaced. 0, or the Win32 error or HRESULT that stood against it; no file is left
// behind then.
DWORD SaveBmp(const GreyPicture& picture, const wchar_t* file);  // 8 bits, grey palette, bottom-up
DWORD SaveJpeg(const GreyPicture& picture, const wchar_t* file, LONG quality);  // 8 bits grey; 0 to 100
DWORD SavePng(const GreyPicture& picture, const wchar_t* file);                 // 8 bits grey
// A device writes BMP only: the others give ERROR_NOT_SUPPORTED there.

// How the context's pictures are made smaller; a device knows no other way.
void StretchByDroppingPixels(HDC context);

// Stretched into the rectangle. 0 or ERROR_GEN_FAILURE.
DWORD DrawPicture(const GreyPicture& picture, HDC context, const RECT& target);

}  // namespace imvoxa
