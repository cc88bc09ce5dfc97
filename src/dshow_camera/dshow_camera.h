// Camera type 1: a colour camera behind the system's video capture filter.
#pragma once

#include <windows.h>

#include <atomic>

#include "api/camera_device.h"
#include "base/unique_resource.h"
#include "dshow_camera/capture_graph.h"
#include "platform/platform.h"

namespace cam {

// Message queues and power notifications are no kernel handles to their owners.
struct MessageQueuePolicy {
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type queue) { platform::CloseMsgQueue(queue); }
};
struct PowerNotificationPolicy {
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type notification) { platform::StopPowerNotifications(notification); }
};

// Threads. *Caller*: whoever calls the operations, one at a time. *Worker*: the thread that Init starts and
// Shutdown ends; it builds the graph, starts and stops preview, triggers stills, and watches the graph's
// events and the resume notifications. *Streaming*: DirectShow's own, which reach the two filters and the
// frame callbacks, never this object.
//
// A caller hands a command to the worker by writing `command` and what belongs to it, setting `commandEvent`
// and waiting for `doneEvent`; the events publish the fields in both directions. While it waits it lets
// messages sent to its windows in, because the worker may be moving a child of one of them; the worker for
// its part dispatches messages while it waits for work, because the video window is its own. docs/camera.md
// has the whole picture.
class DShowCamera final : public CameraDevice {
  public:
    DShowCamera() = default;
    ~DShowCamera() override;
    DShowCamera(const DShowCamera&) = delete;
    DShowCamera& operator=(const DShowCamera&) = delete;

    // dshow_camera.cpp
    HRESULT SetOwnerWindow(HWND window) override;
    HRESULT SetEventsWindow(HWND window) override;
    HRESULT RegisterMediaTypeCallback(camMediaTypeCallback callback) override;
    HRESULT Init(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) override;
    HRESULT Open() override;
    HRESULT Shutdown() override;
    HRESULT GetState(int* state) override;

    // preview.cpp
    HRESULT StartPreview() override;
    HRESULT StopPreview() override;

    // frame_callbacks.cpp
    HRESULT RegisterPreviewCallback(camFrameCallback callback) override;
    HRESULT RegisterStillImageCallback(camFrameCallback callback) override;

    // still_capture.cpp
    HRESULT SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length, UINT_PTR position,
                        UINT_PTR color, UINT_PTR font) override;
    HRESULT GetSnapshot(void* snapshot) override;

    // resolutions.cpp
    int GetResolutionCount() override;
    HRESULT GetResolutionDimensions(long* height, long* width, int index) override;
    HRESULT SetResolution(int index) override;

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
    enum class Command : int {
        kBuildGraph = 0,
        kLeaveThread = 2,
        kTriggerStill = 5,
        kNone = 7,  // means nothing, and is never sent
        kStartPreview = 8,
        kStopPreview = 9
    };

    // What happened. Only kStillCaptured leaves the library, as a message to the events window.
    enum class Notification : int {
        kFailed = 1,
        kStillCaptured = 3,
        kStartPreviewFailed = 5,
        kStopPreviewFailed = 6,
        kGraphBuilt = 9
    };

    // In this order the worker waits for them: the place is the wait's index.
    enum WaitIndex : DWORD { kCommandIndex, kGraphEventIndex, kPowerIndex };

    // dshow_camera.cpp, on the caller
    HRESULT CreateHandles();
    HRESULT SendCommand(Command toSend);
    void EndWorker();

    // preview.cpp, on the caller
    bool IsPreviewing() const;

    // worker_thread.cpp, on the worker
    static DWORD WINAPI WorkerThread(void* camera);
    HRESULT Work();
    void Dispatch(Command received);
    HRESULT HandleGraphEvent();
    HRESULT HandlePowerMessage();
    HRESULT Notify(Notification what, const wchar_t* text);

    // build_graph.cpp, on the worker
    HRESULT BuildGraph();
    HRESULT BuildGraphSteps();
    HRESULT LoadCaptureDriver();
    HRESULT TakeGraphEventHandle();

    // preview.cpp, on the worker
    HRESULT RunPreview();
    HRESULT HaltPreview();
    HRESULT PlaceVideoWindow();
    void TellMediaType();

    // still_capture.cpp, on the worker
    HRESULT TriggerStill();

    // resolutions.cpp, on the caller
    HRESULT ReconnectStillBranch(int index);
    HRESULT ConnectStillPins();

    UniqueHandle commandEvent;
    UniqueHandle graphEventHandle;  // a duplicate: the graph closes its own. Written and used by the worker
    UniqueResource<MessageQueuePolicy> powerQueue;
    std::atomic<HWND> ownerWindow = nullptr;
    DWORD threadId = 0;
    UniqueHandle threadHandle;
    UniqueHandle doneEvent;
    // Held by a caller that changes or asks the graph, and by the worker while it restarts preview after a
    // resume: the one thing that the worker does to the graph unasked. Not held for commands.
    UniqueHandle graphMutex;

    Command command = Command::kNone;
    const wchar_t* stillFileName = nullptr;  // the caller's; valid while its command runs
    int resolutionCount = 0;                 // 0: not asked yet
    int currentResolution = 0;               // the index set last
    BYTE stillMode = 2;                      // encoding option, 0 to 2
    HRESULT commandResult = 0;

    // Written by the worker, Init and Shutdown; read by any thread.
    std::atomic<int> state = CAM_STATE_NONE;

    UniqueResource<PowerNotificationPolicy> powerNotification;
    CaptureGraph graph;  // filled and used by the worker; by the caller between commands

    // Written by the caller at any time, used by the worker.
    std::atomic<HWND> eventsWindow = nullptr;
    std::atomic<camMediaTypeCallback> mediaTypeCallback = nullptr;
};

}  // namespace cam
