// The abstract camera behind the exported functions.
#pragma once

#include <windows.h>

#include <ocellus/cam.h>

namespace cam {

// What a camera is doing. Paused is reported by cameras that find it so, and never stored.
enum class CameraState : int {
    None = CAM_STATE_NONE,
    Initialised = CAM_STATE_INITIALISED,
    Stopped = CAM_STATE_STOPPED,
    Previewing = CAM_STATE_PREVIEWING,
    Paused = CAM_STATE_PAUSED,
    StillTriggered = CAM_STATE_STILL_TRIGGERED
};

// One object of this class is the current camera. The exported functions check their arguments and forward
// to one operation each. Results are HRESULTs unless said otherwise; the exported layer tests most of them
// for non-zero only.
//
// "A" operations serve the property ids 0..8 and -1, "B" operations the ids 9..80.
// Threads: every operation is called on the *caller* thread.
class CameraDevice {
  public:
    virtual ~CameraDevice() = default;

    virtual HRESULT SetOwnerWindow(HWND window) = 0;
    virtual HRESULT SetEventsWindow(HWND window) = 0;
    virtual HRESULT RegisterMediaTypeCallback(camMediaTypeCallback callback) = 0;
    virtual HRESULT Init(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) = 0;
    virtual HRESULT Open() = 0;
    virtual HRESULT StartPreview() = 0;
    virtual HRESULT StopPreview() = 0;
    virtual HRESULT RegisterPreviewCallback(camFrameCallback callback) = 0;
    virtual HRESULT RegisterStillImageCallback(camFrameCallback callback) = 0;
    virtual HRESULT SnapPicture(const wchar_t* fileName, int mode, UINT_PTR overlay1, UINT_PTR overlay2,
                                UINT_PTR overlay3, UINT_PTR overlay4, UINT_PTR overlay5) = 0;
    virtual HRESULT GetSnapshot(void* snapshot) = 0;
    virtual HRESULT Shutdown() = 0;
    virtual int GetResolutionCount() = 0;  // the count itself
    virtual HRESULT GetResolutionDimensions(long* height, long* width, int index) = 0;
    virtual HRESULT SetResolution(int index) = 0;
    virtual HRESULT GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                      long* flags) = 0;
    virtual HRESULT GetPropertyA(int id, long* value, long* flags) = 0;
    virtual HRESULT SetPropertyA(int id, long value, long flags) = 0;
    virtual HRESULT GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                      long* flags) = 0;
    virtual HRESULT GetPropertyB(int id, long* value, long* flags) = 0;
    virtual HRESULT SetPropertyB(int id, long value, long flags) = 0;
    virtual HRESULT GetState(int* state) = 0;

    // Whether the camera can be shut down and destroyed on this thread now: not while the thread answers a
    // message for which a thread of the camera's own waits, nor inside another operation that uses it.
    virtual bool CanEnd() = 0;
};

}  // namespace cam
