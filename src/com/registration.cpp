#include "com/registration.h"

#include <cwchar>
#include <memory>
#include <new>

#include "base/hresult.h"
#include "base/unique_resource.h"

namespace cam::com {

namespace {
constexpr wchar_t kServerKey[] = L"InprocServer32";
constexpr wchar_t kModelValue[] = L"ThreadingModel";
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
    if (error == ERROR_SUCCESS) error = SetText(serverKey.get(), kModelValue, entry.threadingModel);
    return error;
}

// A value as it was, to be put back.
class FormerValue {
  public:
    void Save(HKEY key, const wchar_t* valueName) {
        name = valueName;
        size = sizeof bytes;
        isThere = RegQueryValueExW(key, name, nullptr, &type, bytes, &size) == ERROR_SUCCESS;
    }
    void PutBack(HKEY key) const {
        if (isThere) {
            RegSetValueExW(key, name, 0, type, bytes, size);
        } else {
            RegDeleteValueW(key, name ? name : L"");
        }
    }

  private:
    static constexpr DWORD kMaxSize = (MAX_PATH + 1) * sizeof(wchar_t);

    const wchar_t* name = nullptr;
    bool isThere = false;
    DWORD type = 0;
    DWORD size = 0;
    BYTE bytes[kMaxSize];
};

// What AddClass may change of one class.
struct FormerClass {
    bool hasClass = false, hasServer = false;
    FormerValue name, path, model;

    void Save(HKEY root, const ComClass& entry) {
        UniqueRegistryKey classKey, serverKey;
        hasClass = Open(root, ClassKeyName(entry.id).text, KEY_READ, classKey);
        if (!hasClass) return;
        name.Save(classKey.get(), nullptr);
        hasServer = Open(classKey.get(), kServerKey, KEY_READ, serverKey);
        if (!hasServer) return;
        path.Save(serverKey.get(), nullptr);
        model.Save(serverKey.get(), kModelValue);
    }

    void PutBack(HKEY root, const ComClass& entry) const {
        const ClassKeyName key(entry.id);
        UniqueRegistryKey classKey, serverKey;
        if (!Open(root, key.text, KEY_READ | KEY_WRITE, classKey)) return;
        if (!hasServer) {
            RegDeleteKeyW(classKey.get(), kServerKey);
        } else if (Open(classKey.get(), kServerKey, KEY_READ | KEY_WRITE, serverKey)) {
            path.PutBack(serverKey.get());
            model.PutBack(serverKey.get());
        }
        if (hasClass) {
            name.PutBack(classKey.get());
        } else {
            classKey.reset();
            RegDeleteKeyW(root, key.text);
        }
    }

  private:
    static bool Open(HKEY parent, const wchar_t* name, REGSAM rights, UniqueRegistryKey& key) {
        return RegOpenKeyExW(parent, name, 0, rights, key.put()) == ERROR_SUCCESS;
    }
};

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
    const std::unique_ptr<FormerClass[]> former(new (std::nothrow) FormerClass[classes.size()]);
    if (!former) return E_OUTOFMEMORY;
    for (size_t i = 0; i < classes.size(); ++i) {
        former[i].Save(root, classes[i]);
        const LONG error = AddClass(root, modulePath, classes[i]);
        if (error == ERROR_SUCCESS) continue;
        for (size_t changed = i + 1; changed-- > 0;) former[changed].PutBack(root, classes[changed]);
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
