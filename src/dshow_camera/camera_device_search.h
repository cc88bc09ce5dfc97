// Which camera to open.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace cam {

constexpr size_t kDeviceNameLength = 260;  // characters, the terminating zero included

// Writes the legacy name of the camera ("CAM1:") to `name`, a buffer of kDeviceNameLength characters: of the
// chosen one; when none is chosen, of the second of two, and further ones are not looked at. E_POINTER;
// ERROR_DEVICE_NOT_CONNECTED as an HRESULT when the chosen one is not there; or, when there is none at all,
// the thread's last error as an HRESULT: with no error set that is S_OK, and `name` stays as it was.
HRESULT FindCameraDevice(wchar_t* name);

struct CameraDeviceEntry {
    std::wstring legacyName;
    std::wstring identity;  // stays the same: of a webcam its path, of a driver its legacy name
    std::wstring name;      // for people
    bool isWebcam = false;
};

// All that are there, in the order of the search.
std::vector<CameraDeviceEntry> ListCameraDevices();

// For selections from now on: an identity, a position in the list, a name, or a part of one, whatever fits
// first in this order, without regard to case. Empty: none is chosen, unless by the environment.
void ChooseCameraDevice(std::wstring wanted);

// The first of `devices` that fits; null when none does.
const CameraDeviceEntry* FindWanted(const std::vector<CameraDeviceEntry>& devices,
                                    const std::wstring& wanted);

}  // namespace cam
