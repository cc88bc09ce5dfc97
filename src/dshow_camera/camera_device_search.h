// Which camera driver to open.
#pragma once

#include <windows.h>

namespace cam {

constexpr size_t kDeviceNameLength = 260;  // characters, the terminating zero included

// Writes the legacy name of the camera driver ("CAM1:") to `name`, a buffer of kDeviceNameLength characters.
// Of two drivers the second is taken, further ones are not looked at. E_POINTER; or, when there is none, the
// thread's last error as an HRESULT: with no error set that is S_OK, and `name` stays as it was.
HRESULT FindCameraDevice(wchar_t* name);

}  // namespace cam
