// Names for screen readers that say more than what is to be seen.
#pragma once

#include <windows.h>

#include <string>

namespace camview {

// A button whose text is understood by what stands beside it: "Brightness: default" for "Default". All else
// that a screen reader asks is answered by the system's own description of the control.
void GiveAccessibleName(HWND control, const std::wstring& name);

}  // namespace camview
