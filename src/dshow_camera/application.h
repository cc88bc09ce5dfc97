// What the camera knows of the application that uses it.
#pragma once

#include <windows.h>

#include <atomic>

#include <ocellus/cam.h>

namespace cam {

// Written by the *caller* at any time, used by the *worker*.
struct Application {
    std::atomic<HWND> ownerWindow = nullptr;
    std::atomic<HWND> eventsWindow = nullptr;
    std::atomic<camMediaTypeCallback> mediaTypeCallback = nullptr;
};

}  // namespace cam
