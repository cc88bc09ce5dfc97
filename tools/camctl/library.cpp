#include "library.h"

#include "text.h"

namespace camctl {

std::wstring PathOf(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    return path;
}

std::wstring ProgramFolder() {
    const std::wstring path = PathOf(nullptr);
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

HMODULE RequireLibrary() {
    const std::wstring beside = ProgramFolder() + L"ocellus.dll";
    HMODULE library = LoadLibraryW(beside.c_str());
    DWORD error = GetLastError();
    // Elsewhere only where it is not beside this program, as the system would look.
    if (!library && error == ERROR_MOD_NOT_FOUND &&
        GetFileAttributesW(beside.c_str()) == INVALID_FILE_ATTRIBUTES) {
        library = LoadLibraryW(L"ocellus.dll");
        error = GetLastError();
    }
    if (library) return library;
    constexpr bool kIs64Bit = sizeof(void*) == 8;
    const bool otherWidth = error == ERROR_BAD_EXE_FORMAT;
    throw ToolError{ExitCode::NoCamera,
                    otherWidth ? "'" + ToUtf8(beside) + "' is not for " + (kIs64Bit ? "64" : "32") + " bit"
                               : "there is no ocellus.dll",
                    std::string("put the ocellus.dll of bin/") + (kIs64Bit ? "x64" : "x86") + " into " +
                        ToUtf8(ProgramFolder()),
                    HRESULT_FROM_WIN32(error)};
}

}  // namespace camctl
