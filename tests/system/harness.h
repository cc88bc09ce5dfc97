// A camera in windows, for the tests of the built DLL.
#pragma once

#include <windows.h>

#include <devicekit.h>
#include <ocellus/cam.h>

#include <string>

#include "pump.h"

int State();  // -1 when camGetState fails

// Plays the JSON text; the test fails with the kit's own words when it has an error.
void Play(const std::wstring& scenario);
// An owner window and an events window of this thread. The events window counts message 2623.
class Windows {
  public:
    Windows();
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    HWND top() const { return topWindow; }      // the window above the owner
    HWND owner() const { return ownerWindow; }  // 320 by 240
    HWND events() const { return eventsWindow; }
    // Pictures that have been announced.
    int captured() const;
    bool WaitForCaptured(int pictures) {
        return PumpUntil([=, this] { return captured() >= pictures; });
    }

  private:
    HWND topWindow;
    HWND ownerWindow;
    HWND eventsWindow;
};

// A camera for the length of a test: the scenario is played, the camera brought up in the windows and taken
// down at the end.
class Camera {
  public:
    explicit Camera(const std::wstring& scenario = L"{}");
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    Windows windows;
    const camResult initResult;
};
