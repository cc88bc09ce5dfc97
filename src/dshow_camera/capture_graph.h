// The capture graph of a camera.
#pragma once

#include "api/camera_device.h"
#include "base/thread_role.h"
#include "base/unique_resource.h"
#include "dshow_camera/application.h"
#include "dshow_camera/graph_filters.h"
#include "dshow_camera/graph_interfaces.h"

namespace cam {

// Builds, runs, halts, triggers and reconnects the graph, and keeps the state of the camera that follows from
// it. It has no lock: CameraWorker says who may use it when. *Streaming* threads reach the filters in it and
// the frame callbacks, never this object.
class CaptureGraph {
  public:
    explicit CaptureGraph(const Application& user) : application(user) {}
    CaptureGraph(const CaptureGraph&) = delete;
    CaptureGraph& operator=(const CaptureGraph&) = delete;

    // ---- On the worker --------------------------------------------------------------------------

    // build_graph.cpp. Nothing to do for a graph that has run. `eventHandle` is signalled while the graph has
    // events: a duplicate, since the graph closes its own. What has been made when a step fails stays.
    HRESULT Build(UniqueHandle& eventHandle) CAM_REQUIRES(kWorkerThread);

    // preview.cpp. Run succeeds, with a result other than S_OK and the state unchanged, when the graph does
    // not run within the time-out.
    HRESULT Run() CAM_REQUIRES(kWorkerThread);
    HRESULT Halt() CAM_REQUIRES(kWorkerThread);

    // still_capture.cpp. `fileName` may be null. The sink's results are no HRESULTs: a bad name is a positive
    // number.
    HRESULT TriggerStill(const wchar_t* fileName, BYTE mode) CAM_REQUIRES(kWorkerThread);

    // capture_graph.cpp. Takes one event: the handle stays signalled while there are more, and is reset by
    // the call that finds none.
    void HandleEvent() CAM_REQUIRES(kWorkerThread);

    // ---- On the worker, or on a caller that holds the graph --------------------------------------

    // capture_graph.cpp
    HRESULT GetState(int* out) const;
    bool IsPreviewing() const { return State() == CameraState::Previewing; }
    void SetState(CameraState now) { state = now; }

    // resolutions.cpp. A change of the still pin's format: a graph that runs is interrupted and goes on
    // afterwards, unless it has been halted or started meanwhile. Changes may be nested: an application has
    // another one made while a message box waits. `isRefused`: the pins would not be joined.
    void Interrupt();
    HRESULT ReconnectStillBranch(int index, bool* isRefused);
    void GoOn();

    // ---- Without a worker ------------------------------------------------------------------------

    // A graph that has never run is kept, for the destructor.
    void ReleaseIfItRan();

    // ---- At any time -----------------------------------------------------------------------------

    CameraState State() const { return state; }
    const GraphFilters& Filters() const { return filters; }

  private:
    // What happened. Only StillCaptured leaves the library, as a message to the events window.
    enum class Notification : int {
        Failed = 1,
        StillCaptured = 3,
        StartPreviewFailed = 5,
        StopPreviewFailed = 6,
        GraphBuilt = 9
    };
    HRESULT Notify(Notification what, const wchar_t* text) const;

    // build_graph.cpp
    HRESULT BuildSteps(UniqueHandle& eventHandle);
    HRESULT LoadCaptureDriver();
    HRESULT DuplicateEventHandle(UniqueHandle& eventHandle);

    // preview.cpp
    HRESULT PlaceVideoWindow();
    void TellMediaType();

    // resolutions.cpp
    HRESULT ConnectStillPins(bool* isRefused);

    const Application& application;
    // Changed by the *worker* without the lock when a picture has been stored.
    std::atomic<CameraState> state = CameraState::None;
    bool isInterrupted = false;
    GraphInterfaces graph;
    const GraphFilters filters{graph};
};

// How long the graph may take to say what state it is in. A graph that takes longer counts as not running.
constexpr long kStateTimeoutMs = 100;
// The pauses that renderer and driver need around changes of the video window and of the graph's state.
constexpr DWORD kWindowSleepMs = 100;
constexpr DWORD kHaltSleepMs = 100;
constexpr DWORD kRunSleepMs = 200;

}  // namespace cam
