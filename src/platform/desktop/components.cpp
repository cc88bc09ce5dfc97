#include <objbase.h>

#include <new>
#include <string>

#include "platform/desktop/hidden_window.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

constexpr DWORD kMaxPath = 32768;  // characters

constexpr wchar_t kImagerLibrary[] = L"Imvoxa.dll";

// The path of the module that holds this code; empty when the system does not say.
std::wstring OwnPath() {
    const HMODULE module = OwnModule();
    std::wstring path(kMaxPath, L'\0');
    path.resize(module ? GetModuleFileNameW(module, path.data(), kMaxPath) : 0);
    return path;
}

// Whether COM would take the class from this very library.
bool IsRegisteredHere(REFCLSID id) {
    wchar_t text[39];
    StringFromGUID2(id, text, ARRAYSIZE(text));
    const std::wstring key = std::wstring(L"CLSID\\") + text + L"\\InprocServer32";
    std::wstring registered(kMaxPath, L'\0');
    DWORD bytes = kMaxPath * sizeof(wchar_t);
    if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, registered.data(),
                     &bytes) != ERROR_SUCCESS) {
        return false;
    }
    return CompareStringOrdinal(registered.c_str(), -1, OwnPath().c_str(), -1, TRUE) == CSTR_EQUAL;
}

FARPROC ComFunction(const char* name) {
    const HMODULE library = GetModuleHandleW(L"ole32.dll");
    return library ? GetProcAddress(library, name) : nullptr;
}

}  // namespace

HRESULT CreateOwnFilter(REFCLSID id, DWORD context, REFIID interfaceId, void** out) try {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(OwnModule(), "DllGetClassObject")));
    if (!getClassObject || IsRegisteredHere(id))
        return CoCreateInstance(id, nullptr, context, interfaceId, out);
    IClassFactory* factory = nullptr;
    const HRESULT result = getClassObject(id, __uuidof(IClassFactory), reinterpret_cast<void**>(&factory));
    if (FAILED(result)) return result;
    const HRESULT created = factory->CreateInstance(nullptr, interfaceId, out);
    factory->Release();
    return created;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

ApartmentUse::ApartmentUse() {
    using Increment = HRESULT(WINAPI*)(void**);
    // Windows 8 and later; before, an application's own threads decide.
    const auto increment =
        reinterpret_cast<Increment>(reinterpret_cast<void*>(ComFunction("CoIncrementMTAUsage")));
    if (!increment || FAILED(increment(&cookie))) cookie = nullptr;
}

ApartmentUse::~ApartmentUse() {
    using Decrement = HRESULT(WINAPI*)(void*);
    const auto decrement =
        reinterpret_cast<Decrement>(reinterpret_cast<void*>(ComFunction("CoDecrementMTAUsage")));
    if (cookie && decrement) decrement(cookie);
}

HMODULE LoadImagerLibrary() try {
    const std::wstring path = OwnPath();
    if (path.empty()) return nullptr;
    // The library's own dependencies are looked for beside it, too.
    return LoadLibraryExW((path.substr(0, path.find_last_of(L'\\') + 1) + kImagerLibrary).c_str(), nullptr,
                          LOAD_WITH_ALTERED_SEARCH_PATH);
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
}

}  // namespace cam::platform
