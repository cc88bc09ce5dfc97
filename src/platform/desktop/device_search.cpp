// The search for active drivers, over the registry keys in which Windows CE's device manager records them:
//
//     HKEY_LOCAL_MACHINE\Drivers\Active\NN
//         "Name" = "CAM1:"   "Key" = key of the driver   "Hnd" = device handle (DWORD)
//     HKEY_LOCAL_MACHINE\<key of the driver>
//         "IClass" = one class or a list of them, each "{...}", perhaps "{...}=name"
//
// After them come the desktop's webcams, when cameras are looked for.
#include "platform/platform.h"

#include <objbase.h>

#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "base/unique_resource.h"
#include "platform/desktop/camera_driver/webcams.h"

namespace cam::platform {
namespace {

constexpr wchar_t kActiveKey[] = L"Drivers\\Active";
constexpr size_t kGuidLength = 38;  // characters of "{...}"

// The class of camera drivers: {CB998A05-122C-4166-846A-933E4D7E3C86}
constexpr GUID kCameraClass = {0xCB998A05, 0x122C, 0x4166, {0x84, 0x6A, 0x93, 0x3E, 0x4D, 0x7E, 0x3C, 0x86}};

struct DeviceSearch {
    UniqueRegistryKey active;  // null: nothing is recorded
    DWORD nextIndex = 0;
    GUID wantedClass = {};
    // Asked for when the recorded devices have been gone through.
    bool hasWebcams = false;
    std::vector<driver::Webcam> webcams;
    size_t nextWebcam = 0;
};

template <size_t kSize>
void Copy(const std::wstring& text, wchar_t (&out)[kSize]) {
    wcsncpy(out, text.c_str(), kSize - 1);
}

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

bool FindNextRecorded(DeviceSearch& search, DEVMGR_DEVICE_INFORMATION* information) {
    if (!search.active) return false;
    for (;;) {
        wchar_t name[MAX_PATH];
        DWORD length = MAX_PATH;
        if (RegEnumKeyExW(search.active.get(), search.nextIndex++, name, &length, nullptr, nullptr, nullptr,
                          nullptr) != ERROR_SUCCESS) {
            return false;
        }
        if (DescribeDevice(search, name, information)) return true;
    }
}

bool FindNextWebcam(DeviceSearch& search, DEVMGR_DEVICE_INFORMATION* information) {
    if (!IsEqualGUID(search.wantedClass, kCameraClass)) return false;
    if (!search.hasWebcams) search.webcams = driver::ListWebcams();
    search.hasWebcams = true;
    if (search.nextWebcam == search.webcams.size()) return false;
    const driver::Webcam& webcam = search.webcams[search.nextWebcam++];
    DEVMGR_DEVICE_INFORMATION found = {};
    found.dwSize = information->dwSize;
    Copy(webcam.legacyName, found.szLegacyName);
    Copy(webcam.identity, found.szDeviceKey);
    Copy(webcam.name, found.szDeviceName);
    found.hDevice = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(search.nextWebcam));
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
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kActiveKey, 0, KEY_READ, search->active.put());
    if (!FindNextDevice(search.get(), information)) return nullptr;
    return search.release();
}

BOOL FindNextDevice(HANDLE searchHandle, DEVMGR_DEVICE_INFORMATION* information) try {
    auto& search = *static_cast<DeviceSearch*>(searchHandle);
    const bool found = FindNextRecorded(search, information) || FindNextWebcam(search, information);
    SetLastError(found ? ERROR_SUCCESS : ERROR_NO_MORE_FILES);
    return found;
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return FALSE;
}

BOOL CloseDeviceSearch(HANDLE search) {
    delete static_cast<DeviceSearch*>(search);
    return TRUE;
}

}  // namespace cam::platform
