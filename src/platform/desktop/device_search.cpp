// The search for active drivers, over the registry keys in which Windows CE's device manager records them:
//
//     HKEY_LOCAL_MACHINE\Drivers\Active\NN
//         "Name" = "CAM1:"   "Key" = key of the driver   "Hnd" = device handle (DWORD)
//     HKEY_LOCAL_MACHINE\<key of the driver>
//         "IClass" = one class or a list of them, each "{...}", perhaps "{...}=name"
#include "platform/platform.h"

#include <objbase.h>

#include <cwchar>
#include <memory>
#include <new>
#include <vector>

#include "base/unique_resource.h"

namespace cam::platform {
namespace {

constexpr wchar_t kActiveKey[] = L"Drivers\\Active";
constexpr size_t kGuidLength = 38;  // characters of "{...}"

struct DeviceSearch {
    UniqueRegistryKey active;
    DWORD nextIndex = 0;
    GUID wantedClass = {};
};

bool ReadString(HKEY key, const wchar_t* subKey, const wchar_t* value, wchar_t* buffer, size_t characters) {
    auto bytes = static_cast<DWORD>(characters * sizeof(wchar_t));
    if (RegGetValueW(key, subKey, value, RRF_RT_REG_SZ, nullptr, buffer, &bytes) == ERROR_SUCCESS)
        return true;
    buffer[0] = 0;
    return false;
}

// One class or a list of them as a list: strings one behind the other, the last one empty.
std::vector<wchar_t> ReadClasses(const wchar_t* driverKey) {
    DWORD bytes = 0;
    constexpr DWORD types = RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, driverKey, L"IClass", types, nullptr, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return {0, 0};
    }
    std::vector<wchar_t> classes(bytes / sizeof(wchar_t) + 2);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, driverKey, L"IClass", types, nullptr, classes.data(), &bytes) !=
        ERROR_SUCCESS) {
        return {0, 0};
    }
    return classes;
}

bool ListsClass(const wchar_t* driverKey, const GUID& wanted) {
    const std::vector<wchar_t> classes = ReadClasses(driverKey);
    for (const wchar_t* entry = classes.data(); *entry; entry += wcslen(entry) + 1) {
        wchar_t text[kGuidLength + 1] = {};
        wcsncpy(text, entry, kGuidLength);
        GUID listed = {};
        if (SUCCEEDED(CLSIDFromString(text, &listed)) && IsEqualGUID(listed, wanted)) return true;
    }
    return false;
}

// Fills `information` from the active device `name`; false when it is no device of the wanted class.
bool DescribeDevice(const DeviceSearch& search, const wchar_t* name, DEVMGR_DEVICE_INFORMATION* information) {
    DEVMGR_DEVICE_INFORMATION found = {};
    found.dwSize = information->dwSize;
    if (!ReadString(search.active.get(), name, L"Key", found.szDeviceKey, MAX_PATH)) return false;
    if (!ListsClass(found.szDeviceKey, search.wantedClass)) return false;

    wchar_t legacyName[MAX_PATH] = {};
    ReadString(search.active.get(), name, L"Name", legacyName, MAX_PATH);
    constexpr size_t legacyLength = sizeof found.szLegacyName / sizeof(wchar_t) - 1;
    wcsncpy(found.szLegacyName, legacyName, legacyLength);

    DWORD handle = 0;
    DWORD bytes = sizeof handle;
    RegGetValueW(search.active.get(), name, L"Hnd", RRF_RT_REG_DWORD, nullptr, &handle, &bytes);
    found.hDevice = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(handle));
    *information = found;
    return true;
}

}  // namespace

HANDLE FindFirstDevice(DeviceSearchType searchType, const void* searchParameter,
                       DEVMGR_DEVICE_INFORMATION* information) {
    if (searchType != DeviceSearchByGuid || !searchParameter || !information ||
        information->dwSize != sizeof *information) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::unique_ptr<DeviceSearch> search(new (std::nothrow) DeviceSearch);
    if (!search) {
        SetLastError(ERROR_OUTOFMEMORY);
        return nullptr;
    }
    search->wantedClass = *static_cast<const GUID*>(searchParameter);
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kActiveKey, 0, KEY_READ, search->active.put()) != ERROR_SUCCESS) {
        SetLastError(ERROR_NO_MORE_FILES);
        return nullptr;
    }
    if (!FindNextDevice(search.get(), information)) return nullptr;
    return search.release();
}

BOOL FindNextDevice(HANDLE searchHandle, DEVMGR_DEVICE_INFORMATION* information) try {
    auto& search = *static_cast<DeviceSearch*>(searchHandle);
    for (;;) {
        wchar_t name[MAX_PATH];
        DWORD length = MAX_PATH;
        if (RegEnumKeyExW(search.active.get(), search.nextIndex++, name, &length, nullptr, nullptr, nullptr,
                          nullptr) != ERROR_SUCCESS) {
            SetLastError(ERROR_NO_MORE_FILES);
            return FALSE;
        }
        if (DescribeDevice(search, name, information)) {
            SetLastError(ERROR_SUCCESS);
            return TRUE;
        }
    }
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return FALSE;
}

BOOL CloseDeviceSearch(HANDLE search) {
    delete static_cast<DeviceSearch*>(search);
    return TRUE;
}

}  // namespace cam::platform
