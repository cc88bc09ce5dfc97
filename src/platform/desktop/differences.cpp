#include <new>
#include <string>

#include "platform/platform.h"

namespace cam::platform {
namespace {

constexpr COLORREF kColorMask = 0x00FFFFFF;
constexpr wchar_t kImagerLibrary[] = L"Imvoxa.dll";
constexpr DWORD kMaxPath = 32768;  // characters

// The folder of the module that holds this code, with a backslash at its end; empty when the system does not
// say.
std::wstring OwnFolder() {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const wchar_t*>(&LoadImagerLibrary), &module)) {
        return {};
    }
    std::wstring path(kMaxPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), kMaxPath));
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

}  // namespace

BOOL EventModify(HANDLE event, DWORD function) {
    switch (function) {
        case kEventPulse:
            return PulseEvent(event);
        case kEventReset:
            return ResetEvent(event);
        case kEventSet:
            return SetEvent(event);
        default:
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
    }
}

bool IsSenderWaiting() {
    return (InSendMessageEx(nullptr) & (ISMEX_SEND | ISMEX_REPLIED)) == ISMEX_SEND;
}

COLORREF DeviceTextColor(COLORREF color) {
    return color & kColorMask;
}

HMODULE LoadImagerLibrary() try {
    const std::wstring folder = OwnFolder();
    if (folder.empty()) return nullptr;
    // The library's own dependencies are looked for beside it, too.
    return LoadLibraryExW((folder + kImagerLibrary).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
}

}  // namespace cam::platform
