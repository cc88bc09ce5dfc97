// What becomes of the webcams, told to a window of the application's choice.
#pragma once

#include <windows.h>

namespace cam::driver {

enum class DeviceNotice : WPARAM { Arrived = 1, Removed = 2, Lost = 3, Returned = 4 };

// Any thread. Nothing happens when nobody wants to know.
void PostDeviceNotice(DeviceNotice notice);

}  // namespace cam::driver
