#include "dshow_camera/camera_device_search.h"

#include <wchar.h>

#include <new>
#include <utility>

#include "base/hresult.h"
#include "base/lock.h"
#include "dshow_camera/identifiers.h"
#include "platform/owners.h"

namespace cam {
namespace {

using platform::DEVMGR_DEVICE_INFORMATION;

Guarded<std::wstring> theChoice;

platform::UniqueDeviceSearch BeginSearch(DEVMGR_DEVICE_INFORMATION& information) {
    information = {};
    information.dwSize = sizeof information;
    return platform::UniqueDeviceSearch(
        platform::FindFirstDevice(platform::DeviceSearchByGuid, &kCameraDeviceClass, &information));
}

// The record's name is never longer than the buffer.
void CopyName(wchar_t* name, const wchar_t* legacyName) {
    static_assert(sizeof DEVMGR_DEVICE_INFORMATION::szLegacyName <= kDeviceNameLength * sizeof(wchar_t));
    wcsncpy(name, legacyName, kDeviceNameLength);
    name[kDeviceNameLength - 1] = 0;
}

CameraDeviceEntry EntryOf(const DEVMGR_DEVICE_INFORMATION& information) {
    CameraDeviceEntry entry;
    entry.legacyName = information.szLegacyName;
    entry.isWebcam = platform::IsWebcam(information.szLegacyName);
    entry.identity = entry.isWebcam ? information.szDeviceKey : information.szLegacyName;
    entry.name = *information.szDeviceName ? information.szDeviceName : information.szLegacyName;
    return entry;
}

bool Same(const std::wstring& text, const std::wstring& other) {
    return _wcsicmp(text.c_str(), other.c_str()) == 0;
}

bool Contains(const std::wstring& text, const std::wstring& part) {
    for (size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (_wcsnicmp(text.c_str() + at, part.c_str(), part.size()) == 0) return true;
    }
    return false;
}

// -1 when the text is no number, or no position can be that large.
long PositionOf(const std::wstring& text) {
    constexpr size_t kMaxDigits = 4;
    if (text.empty() || text.size() > kMaxDigits) return -1;
    long position = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') return -1;
        position = position * 10 + (digit - L'0');
    }
    return position;
}

std::wstring Wanted() {
    std::wstring chosen = *theChoice.Locked();
    return chosen.empty() ? platform::ChosenByEnvironment() : chosen;
}

}  // namespace

HRESULT FindCameraDevice(wchar_t* name) try {
    if (!name) return E_POINTER;
    const std::wstring wanted = Wanted();
    if (!wanted.empty()) {
        const std::vector<CameraDeviceEntry> devices = ListCameraDevices();
        const CameraDeviceEntry* const found = FindWanted(devices, wanted);
        if (!found) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
        CopyName(name, found->legacyName.c_str());
        return S_OK;
    }
    DEVMGR_DEVICE_INFORMATION information;
    const platform::UniqueDeviceSearch search = BeginSearch(information);
    if (!search || !information.hDevice) return HresultFromLastError();
    CopyName(name, information.szLegacyName);
    if (platform::FindNextDevice(search.get(), &information)) CopyName(name, information.szLegacyName);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

std::vector<CameraDeviceEntry> ListCameraDevices() {
    std::vector<CameraDeviceEntry> devices;
    DEVMGR_DEVICE_INFORMATION information;
    const platform::UniqueDeviceSearch search = BeginSearch(information);
    if (!search) return devices;
    do {
        devices.push_back(EntryOf(information));
    } while (platform::FindNextDevice(search.get(), &information));
    return devices;
}

void ChooseCameraDevice(std::wstring wanted) {
    *theChoice.Locked() = std::move(wanted);
}

const CameraDeviceEntry* FindWanted(const std::vector<CameraDeviceEntry>& devices,
                                    const std::wstring& wanted) {
    for (const CameraDeviceEntry& device : devices) {
        if (Same(device.identity, wanted)) return &device;
    }
    const long position = PositionOf(wanted);
    if (position >= 0 && static_cast<size_t>(position) < devices.size())
        return &devices[static_cast<size_t>(position)];
    for (const CameraDeviceEntry& device : devices) {
        if (Same(device.name, wanted)) return &device;
    }
    for (const CameraDeviceEntry& device : devices) {
        if (Contains(device.name, wanted)) return &device;
    }
    return nullptr;
}

}  // namespace cam
