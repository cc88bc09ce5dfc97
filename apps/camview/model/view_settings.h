// What the viewer remembers from one start to the next, for each user.
#pragma once

#include <windows.h>

#include <string>

#include "model/fit.h"

namespace camview {

struct ViewSettings {
    RECT window = {};  // of the screen; empty: the system's choice
    bool maximised = false;
    int tab = 0;
    Zoom zoom = Zoom::Fit;
    std::wstring camera;  // identity; empty: the first there is
    // Pictures
    int format = 1;  // place in kPictureFormats
    int mode = 0;    // quality or threshold
    std::wstring folder;
    std::wstring pattern = L"picture-%Y%m%d-%H%M%S";
    int burst = 5;
    int intervalMs = 10'000;
    // Stamped text; strftime conversions count.
    std::wstring stamp;
    int position = 8;  // place in kPositions
    int color = 0;     // place in kTextColors
    int outline = 1;   // place in kStampColors
    int background = 0;
    std::wstring fontName = L"DejaVu Sans";
    int fontPixels = 18;
    bool fontBold = true;
};

enum class SettingsState { Fresh, Read, Newer };

// Fresh: there is no such file, and `settings` stays as it is. Newer: written by a later version; what is
// understood has been taken, and the file must not be written.
SettingsState ReadViewSettings(const std::wstring& file, ViewSettings& settings);
bool WriteViewSettings(const std::wstring& file, const ViewSettings& settings);

// %APPDATA%\Ocellus\camview.ini; the folder is made.
std::wstring ViewSettingsFile();

}  // namespace camview
