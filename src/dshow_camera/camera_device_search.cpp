#include "dshow_camera/camera_device_search.h"

#include <cwchar>

#include "base/hresult.h"
#include "dshow_camera/identifiers.h"
#include "platform/owners.h"

namespace cam {
namespace {

// The record's name is never longer than the buffer.
void CopyName(wchar_t* name, const platform::DEVMGR_DEVICE_INFORMATION& information) {
    static_assert(sizeof information.szLegacyName <= kDeviceNameLength * sizeof(wchar_t));
    wcsncpy(name, information.szLegacyName, kDeviceNameLength);
    name[kDeviceNameLength - 1] = 0;
}

}  // namespace

HRESULT FindCameraDevice(wchar_t* name) {
    if (!name) return E_POINTER;
    platform::DEVMGR_DEVICE_INFORMATION information = {};
    information.dwSize = sizeof information;
    const platform::UniqueDeviceSearch search(
        platform::FindFirstDevice(platform::DeviceSearchByGuid, &kCameraDeviceClass, &information));
    if (!search || !information.hDevice) return HresultFromLastError();
    CopyName(name, information);
    if (platform::FindNextDevice(search.get(), &information)) CopyName(name, information);
    return S_OK;
}

}  // namespace cam
