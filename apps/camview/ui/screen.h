// Resolution of the screen and what depends on it: font and sizes. Works on Windows 7, where all screens
// have one resolution, and uses what later systems know.
#pragma once

#include <windows.h>

#include "base/unique_resource.h"
#include "model/fit.h"

namespace camview {

// Of the screen on which the window is, or of the first one; the program's own choice (--dpi) when there is
// one.
int DpiOf(HWND window);
void ForceDpi(int dpi);  // 0: the screen's

cam::UniqueFont MakeFont(int dpi);
int LineHeight(HFONT font);  // pixels

// The title bar is dark where the user has dark programs and the system can.
void FollowDarkMode(HWND window);

void SetFontOfChildren(HWND window, HFONT font);

}  // namespace camview
