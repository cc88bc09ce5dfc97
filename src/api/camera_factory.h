// The cameras there are. Apart from the selection, so that a test can supply cameras of its own.
#pragma once

#include "api/camera_device.h"

namespace cam {

// A new camera of the type (CAM_TYPE_...), the caller's; null for an unknown type, or without memory.
CameraDevice* CreateCamera(int cameraType);

}  // namespace cam
