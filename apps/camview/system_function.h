// Functions that not every system has.
#pragma once

#include <windows.h>

namespace camview {

// Null: this system has no such library, or the library no such function. The library stays loaded.
template <typename Function>
Function SystemFunction(const wchar_t* library, const char* name) {
    const HMODULE module = LoadLibraryW(library);
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(module ? GetProcAddress(module, name) : nullptr));
}

}  // namespace camview
