// Cameras in place of the library's own: they record what reaches them and answer what they are told.
#pragma once

#include <string>
#include <vector>

#include "api/camera_device.h"

struct FakeCameras {
    std::vector<std::wstring> calls;  // every operation that reached a camera: "SetPropertyB 9 5 2", "~2"
    HRESULT result = 0;               // what every operation answers
    HRESULT initResult = 0;
    bool outOfMemory = false;  // no camera can be created
    bool canEnd = true;
    void (*onCall)() = nullptr;  // at each operation
    int alive = 0;
    camFrameCallback previewCallback = nullptr;  // as registered last
    camMediaTypeCallback mediaTypeCallback = nullptr;
};
extern FakeCameras fakeCameras;

// No camera, no calls, every answer 0.
void ResetFakeCameras();
// The calls since the last ResetCalls or TakeCalls, joined by "; ".
std::wstring TakeCalls();
