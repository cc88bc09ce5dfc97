// Camera type 2: the device's imager behind the maker's imager library.
#pragma once

#include "api/camera_device.h"
#include "base/com_ptr.h"
#include "imager_camera/imager_session.h"

namespace cam {

// Threads: every operation runs on the *caller* thread. StartPreview starts a *worker*, the preview
// thread (preview_thread.h), which alone works the scan engine; the two meet in the session, which lives
// until both have let go of it.
//
// Where the imager library is missing, Init and every operation that would call the library give
// HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND), or ERROR_PROC_NOT_FOUND when it lacks one of the operations.
class ImagerCamera final : public CameraDevice {
  public:
    // Loads the imager library; whether that succeeded is Init's to say. std::bad_alloc when there is no
    // memory for the session.
    ImagerCamera();

    // Ends the preview thread first, waiting at most 5000 ms for it while sent messages are let in. A thread
    // that does not come back from the library in that time is cut off: it touches neither window, callback
    // nor library any more.
    ~ImagerCamera() override;

    ImagerCamera(const ImagerCamera&) = delete;
    ImagerCamera& operator=(const ImagerCamera&) = delete;

    HRESULT SetOwnerWindow(HWND window) override;
    HRESULT SetEventsWindow(HWND window) override;
    HRESULT RegisterMediaTypeCallback(camMediaTypeCallback callback) override;
    HRESULT Init(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) override;
    HRESULT Open() override;
    HRESULT StartPreview() override;
    HRESULT StopPreview() override;
    HRESULT RegisterPreviewCallback(camFrameCallback callback) override;
    HRESULT RegisterStillImageCallback(camFrameCallback callback) override;

    // The overlay arguments are the text, its length in characters, the position code, an unused word and the
    // font.
    HRESULT SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR textLength,
                        UINT_PTR position, UINT_PTR extra, UINT_PTR font) override;
    HRESULT GetSnapshot(void* snapshot) override;
    HRESULT Shutdown() override;

    // imager_properties.cpp
    int GetResolutionCount() override;
    HRESULT GetResolutionDimensions(long* height, long* width, int index) override;
    HRESULT SetResolution(int index) override;
    HRESULT GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override;
    HRESULT GetPropertyA(int id, long* value, long* flags) override;
    HRESULT SetPropertyA(int id, long value, long flags) override;
    HRESULT GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override;
    HRESULT GetPropertyB(int id, long* value, long* flags) override;
    HRESULT SetPropertyB(int id, long value, long flags) override;
    HRESULT GetState(int* state) override;
    bool CanEnd() override { return true; }  // its threads are waited for 5 s at the longest

  private:
    void EndPreviewThreads();
    DWORD WaitFor(HANDLE handle, DWORD timeoutMs);

    ComPtr<ImagerSession> session;  // never null
    UniqueHandle previewThread;     // the latest one
    bool isWaiting = false;         // for the end of a preview
    DWORD switch16 = 0;
    DWORD switch80 = 0;
    DWORD monoColor = 0;
    // -1: direct exposure. No setting is selected before the first get of the exposure.
    LONG exposureIndex = -2;
    DWORD engineInfoA = 0;  // from the library's open record, for who debugs a device
    DWORD engineInfoB = 0;
};

}  // namespace cam
