// Brings the library back after a cold boot, which empties \Windows and the registry. Stands in the folder on
// the device's flash whose programs are started with the device; beside that folder is one, Ocellus, with a
// copy of the library.
#include <windows.h>

#include <string>

namespace {

constexpr wchar_t kLibrary[] = L"\\Windows\\ocellus.dll";
constexpr wchar_t kCopy[] = L"\\Ocellus\\ocellus.bak";

// "\Flash\StartUp\restore.exe": "\Flash".
std::wstring FolderAboveProgram() {
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder = path;
    for (int step = 0; step < 2; ++step) {
        const size_t end = folder.find_last_of(L'\\');
        folder.resize(end == std::wstring::npos ? 0 : end);
    }
    return folder;
}

}  // namespace

// Ends with 0, a Win32 error, or what registering answered.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    // A library that is there may be newer than the copy, and in use.
    const std::wstring copy = FolderAboveProgram() + kCopy;
    const DWORD error = CopyFileW(copy.c_str(), kLibrary, TRUE) ? ERROR_SUCCESS : GetLastError();
    if (error && GetFileAttributesW(kLibrary) == INVALID_FILE_ATTRIBUTES) return static_cast<int>(error);
    const HMODULE library = LoadLibraryW(kLibrary);
    if (!library) return static_cast<int>(GetLastError());
    using Register = HRESULT(WINAPI*)();
    const auto registerServer =
        reinterpret_cast<Register>(reinterpret_cast<void*>(GetProcAddress(library, "DllRegisterServer")));
    const HRESULT result = registerServer ? registerServer() : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    FreeLibrary(library);
    return result;
}
