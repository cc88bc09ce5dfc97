// Camera type 1: a colour camera behind the system's video capture filter.
#pragma once

#include "api/camera_device.h"
#include "dshow_camera/camera_worker.h"

namespace cam {

// Hands what concerns the running of the graph to the worker, asks the filters themselves for the rest, and
// applies the persisted settings. Threads: every operation runs on the *caller* thread.
class DShowCamera final : public CameraDevice {
  public:
    DShowCamera() = default;
    ~DShowCamera() override;
    DShowCamera(const DShowCamera&) = delete;
    DShowCamera& operator=(const DShowCamera&) = delete;

    HRESULT SetOwnerWindow(HWND window) override;
    HRESULT SetEventsWindow(HWND window) override;
    HRESULT RegisterMediaTypeCallback(camMediaTypeCallback callback) override;
    HRESULT Init(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) override;
    HRESULT Open() override;
    HRESULT Shutdown() override;
    HRESULT GetState(int* state) override;
    bool CanEnd() override;
    HRESULT StartPreview() override;
    HRESULT StopPreview() override;

    HRESULT SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length, UINT_PTR position,
                        UINT_PTR color, UINT_PTR font) override;
    HRESULT GetSnapshot(void* snapshot) override;
    int GetResolutionCount() override;
    HRESULT GetResolutionDimensions(long* height, long* width, int index) override;
    HRESULT SetResolution(int index) override;

    // frame_callbacks.cpp
    HRESULT RegisterPreviewCallback(camFrameCallback callback) override;
    HRESULT RegisterStillImageCallback(camFrameCallback callback) override;

    // properties.cpp
    HRESULT GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override;
    HRESULT GetPropertyA(int id, long* value, long* flags) override;
    HRESULT SetPropertyA(int id, long value, long flags) override;
    HRESULT GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override;
    HRESULT GetPropertyB(int id, long* value, long* flags) override;
    HRESULT SetPropertyB(int id, long value, long flags) override;

  private:
    Application application;
    CameraWorker worker{application};
    int resolutionCount = 0;  // 0: not asked yet
};

}  // namespace cam
