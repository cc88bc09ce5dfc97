// What the environment says to the library on the desktop.
#pragma once

#include <string>

namespace cam::platform {

// Empty when it is not set.
std::wstring Environment(const wchar_t* name);

}  // namespace cam::platform
