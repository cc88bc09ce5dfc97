// The one current camera: selection, replacement, shutdown.
//
// No lock guards it: selection and shutdown must not run while anything else uses the camera.
#pragma once

#include "api/camera_device.h"

namespace cam {

// Null when there is none.
CameraDevice* CurrentCamera();

// The type selected last, known or not; 0 before the first selection. Shutting down does not clear it.
int SelectedType();

// Discards the current camera, whatever the new type is, and brings up one of `cameraType`. A camera whose
// Init failed stays current, so that ShutDownCamera or the next selection clears up behind it. Results as
// camSelect.
camResult SelectCamera(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection,
                       int cameraType);

// Results as camShutDown.
camResult ShutDownCamera();

}  // namespace cam
