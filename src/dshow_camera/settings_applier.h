// The settings that persist from one run of the camera to the next.
#pragma once

#include <windows.h>

namespace cam {

// A settings file that cannot be read, or a setting that the camera refuses. No failure to who brings the
// camera up.
constexpr HRESULT kSettingsNotApplied = 6;

// Reads the ten camera settings from `section` of the file `path` and sets them one after the other through
// the exported functions, and with them on the current camera. The first that fails ends it. 0 or
// kSettingsNotApplied. *Caller* thread.
HRESULT ApplySettings(const wchar_t* path, const wchar_t* section);

}  // namespace cam
