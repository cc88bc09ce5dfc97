// The one current camera: selection, replacement, shutdown.
//
// No lock guards it: selection and shutdown must not run while anything else uses the camera. Where they are
// asked for all the same, from a message that comes in during another call, they are refused.
#pragma once

#include "api/camera_device.h"

namespace cam {

// The current camera for the length of a call, in which nothing takes it away; none when there is none.
class CameraUse {
  public:
    CameraUse();
    ~CameraUse();
    CameraUse(const CameraUse&) = delete;
    CameraUse& operator=(const CameraUse&) = delete;

    explicit operator bool() const { return camera != nullptr; }
    CameraDevice* operator->() const { return camera; }

  private:
    CameraDevice* const camera;
};

// Which window the camera has been told to announce its pictures to.
void NoteEventsWindow(HWND window);

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
