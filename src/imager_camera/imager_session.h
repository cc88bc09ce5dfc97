// What the imager camera and its preview threads share.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include <ocellus/cam.h>

#include "api/camera_device.h"
#include "base/lock.h"
#include "base/unique_resource.h"
#include "imager_camera/imager_library.h"

namespace cam {

// What is told of the camera's progress. Only StillCaptured reaches the application.
enum class ImagerNotice { StillFailed = 1, StillCaptured = 3, PreviewFailed = 5, Information = 9 };

// The still picture asked for last. Written by the *caller*, published by snapEvent, read by the *worker*.
struct StillRequest {
    std::unique_ptr<wchar_t[]> fileName;  // null: no file
    LONG jpegQuality = 90;
    std::unique_ptr<wchar_t[]> overlayText;
    bool overlayTextIsOut = false;  // a *worker* is stamping it, and gives it back
    DWORD overlayPosition = 0;
    DWORD overlayExtra = 0;  // kept with the text, never used
    HFONT overlayFont = nullptr;
};

// Under one lock: an application may ask for the next still while the last one is being stamped, and who has
// received the message of a captured still must not read the state from before it.
struct ImagerProgress {
    StillRequest request;
    CameraState state = CameraState::None;
    LONG runningThreads = 0;
};

// How the camera's end reaches a preview thread that may not be listening to stopEvent.
enum class Ending : LONG {
    None = 0,
    Requested = 1,  // leave, with the library's stop and close
    CutOff = 2      // the camera is gone: touch nothing any more
};

// Owned by the camera and by each of its preview threads together, so that a thread that hangs in the
// library finds it alive whenever it comes back. The library is unloaded with the last owner.
class ImagerSession {
  public:
    ImagerSession();
    ImagerSession(const ImagerSession&) = delete;
    ImagerSession& operator=(const ImagerSession&) = delete;

    void AddRef() { ++owners; }
    void Release();

    // Posts message 2623 to the events window for a captured still, with `progress` locked. Any other notice
    // posts nothing, and the text goes nowhere. E_POINTER for a null or empty text.
    HRESULT Notify(ImagerNotice notice, const wchar_t* text) const;

    // Under the lock of what a thread tells: one that is cut off tells nothing more.
    void End(Ending how);

    // A preview thread is about to be started, and has ended: threadsEnded follows.
    void CountThreadIn();
    void CountThreadOut();

    ImagerLibrary library;
    std::atomic<HANDLE> engineHandle{nullptr};  // of the engine opened last; stays when it is closed
    std::atomic<HWND> eventsWindow{nullptr};
    std::atomic<HWND> previewWindow{nullptr};
    std::atomic<DWORD> resolutionIndex{1};
    std::atomic<camFrameCallback> previewCallback{nullptr};
    std::atomic<camFrameCallback> stillCallback{nullptr};

    UniqueHandle stopEvent;  // auto-reset: one preview thread is to end
    UniqueHandle snapEvent;  // auto-reset: take a still; two within one pass are one

    Guarded<ImagerProgress> progress;

    std::atomic<Ending> ending{Ending::None};
    UniqueHandle threadsEnded;  // manual-reset: set while no preview thread runs

  private:
    ~ImagerSession() = default;

    std::atomic<LONG> owners = 1;
};

}  // namespace cam
