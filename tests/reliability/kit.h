// The device kit's functions, found at run time: an application knows nothing of it.
#pragma once

#include <windows.h>

#include <devicekit.h>

#include <string>

namespace reliability {

template <typename Function>
Function* OfKit(const char* name) {
    static const HMODULE kit = LoadLibraryW(L"devicekit.dll");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(kit, name)));
}

// Small pictures, so that a session is short; `members` follow, each after a comma. Empty, or what is wrong.
inline std::wstring Play(const std::wstring& members = {}) {
    constexpr wchar_t kSmall[] =
        L"{\"preview\": {\"width\": 160, \"height\": 120}, \"stillFormats\": ["
        L"{\"width\": 160, \"height\": 120}, {\"width\": 161, \"height\": 121, \"subtype\": \"RGB565\"}]";
    wchar_t error[300] = L"";
    const bool plays =
        OfKit<decltype(kitLoadScenario)>("kitLoadScenario")((kSmall + members + L"}").c_str(), error, 300);
    return plays ? L"" : error;
}

}  // namespace reliability
