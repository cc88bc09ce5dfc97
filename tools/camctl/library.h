// The library that camctl drives, which is loaded when it is first called: only then can camctl say what is
// wrong with it.
#pragma once

#include <windows.h>

#include <string>

namespace camctl {

// Of this program, with the separator at its end.
std::wstring ProgramFolder();

// The full path of a loaded DLL.
std::wstring PathOf(HMODULE module);

// Loads ocellus.dll, or throws a ToolError that says why it cannot be. To be called before the first cam
// function.
HMODULE RequireLibrary();

}  // namespace camctl
