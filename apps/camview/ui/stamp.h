// The text that is stamped into pictures, as the settings have it: its words, its font, how it will look.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "model/view_settings.h"

namespace camview {

// Conversions of strftime are filled in where the text has valid ones; lines end as the library wants them.
std::wstring StampWords(const ViewSettings& settings);

LOGFONTW StampFont(const ViewSettings& settings);

// The text as it will stand in a picture, pixel for pixel, over a plain slope of grey.
void DrawStampExample(HDC context, const RECT& area, const ViewSettings& settings);

// What there is to choose a font from, in the order of the names.
std::vector<std::wstring> FontFamilies();

}  // namespace camview
