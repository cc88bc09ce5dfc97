#include "com/registration.h"

#include <cwchar>

#include "base/hresult.h"
#include "base/unique_resource.h"

namespace cam::com {

namespace {
constexpr wchar_t kServerKey[] = L"InprocServer32";
constexpr int kGuidLength = 39;  // {8-4-4-4-12} and the terminating zero

// "CLSID\{...}"
struct ClassKeyName {
    wchar_t text[6 + kGuidLength] = L"CLSID\\";

    explicit ClassKeyName(REFCLSID id) { StringFromGUID2(id, text + 6, kGuidLength); }
};

LONG CreateKey(HKEY parent, const wchar_t* name, UniqueRegistryKey& key) {
    DWORD disposition = 0;
    return RegCreateKeyExW(parent, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                           key.put(), &disposition);
}

LONG SetText(HKEY key, const wchar_t* name, const wchar_t* text) {
    const auto bytes = static_cast<DWORD>((std::wcslen(text) + 1) * sizeof(wchar_t));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes);
}

LONG AddClass(HKEY root, const wchar_t* modulePath, const ComClass& entry) {
    UniqueRegistryKey classKey;
    UniqueRegistryKey serverKey;
    LONG error = CreateKey(root, ClassKeyName(entry.id).text, classKey);
    if (error == ERROR_SUCCESS) error = SetText(classKey.get(), nullptr, entry.name);
    if (error == ERROR_SUCCESS) error = CreateKey(classKey.get(), kServerKey, serverKey);
    if (error == ERROR_SUCCESS) error = SetText(serverKey.get(), nullptr, modulePath);
    if (error == ERROR_SUCCESS) error = SetText(serverKey.get(), L"ThreadingModel", entry.threadingModel);
    return error;
}

LONG RemoveClass(HKEY root, const ComClass& entry) {
    const ClassKeyName name(entry.id);
    UniqueRegistryKey classKey;
    LONG error = RegOpenKeyExW(root, name.text, 0, KEY_READ | KEY_WRITE, classKey.put());
    if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS) return error;
    error = RegDeleteKeyW(classKey.get(), kServerKey);
    classKey.reset();
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) return error;
    return RegDeleteKeyW(root, name.text);
}
}  // namespace

HRESULT RegisterClasses(HKEY root, const wchar_t* modulePath, ClassTable classes) {
    for (const ComClass& entry : classes) {
        const LONG error = AddClass(root, modulePath, entry);
        if (error == ERROR_SUCCESS) continue;
        UnregisterClasses(root, classes);
        return HresultFromError(static_cast<DWORD>(error));
    }
    return S_OK;
}

HRESULT UnregisterClasses(HKEY root, ClassTable classes) {
    LONG first = ERROR_SUCCESS;
    for (const ComClass& entry : classes) {
        const LONG error = RemoveClass(root, entry);
        if (first == ERROR_SUCCESS) first = error;
    }
    return HresultFromError(static_cast<DWORD>(first));
}

}  // namespace cam::com
