// The thread that works a camera's capture graph.
#pragma once

#include <windows.h>

#include "base/unique_resource.h"
#include "dshow_camera/graph_access.h"
#include "platform/owners.h"

namespace cam {

// Owns the graph and lets nobody at it but its thread, the *worker*, and who holds a GraphAccess. The worker
// builds the graph, starts and stops preview and triggers stills when it is told to, takes the graph's
// events, and restarts preview after a resume.
//
// A *caller* hands a command over by writing command_ and what belongs to it, setting commandEvent_ and
// waiting for doneEvent_; the events publish the fields in both directions. While it waits it lets messages
// sent to its windows in, because the worker may be moving a child of one of them; the worker for its part
// dispatches messages while it waits for work, because the video window is its own. docs/camera.md has the
// whole picture.
class CameraWorker {
  public:
    explicit CameraWorker(const Application& application) : application_(application), graph_(application) {}
    CameraWorker(const CameraWorker&) = delete;
    CameraWorker& operator=(const CameraWorker&) = delete;

    // Creates the handles and the thread. What was created before a failure stays, for End; what exists
    // already is used again.
    HRESULT Start();

    // Ends the thread, closes the handles and lets go of a graph that has run. Start begins anew.
    void End();

    // Commands: what the worker's routine of the same name gives, or E_FAIL without a worker. The graph must
    // not be held.
    HRESULT BuildGraph() { return Send(Command::BuildGraph); }
    HRESULT StartPreview() { return Send(Command::StartPreview); }
    HRESULT StopPreview() { return Send(Command::StopPreview); }
    HRESULT TriggerStill(const wchar_t* fileName, BYTE mode);

    // Holds the graph for as long as the result lives.
    GraphAccess Graph() CAM_UNCHECKED { return GraphAccess(graphMutex_, graph_); }

    const GraphFilters& Filters() const CAM_UNCHECKED { return graph_.Filters(); }

  private:
    enum class Command : int {
        BuildGraph = 0,
        LeaveThread = 2,
        TriggerStill = 5,
        None = 7,  // means nothing, and is never sent
        StartPreview = 8,
        StopPreview = 9
    };

    // In this order the worker waits for them: the place is the wait's index.
    enum WaitIndex : DWORD { kCommandIndex, kGraphEventIndex, kPowerIndex };

    // On the caller
    HRESULT Send(Command command);
    void EndThread();

    // On the worker
    static DWORD WINAPI Thread(void* worker);
    void Work() CAM_REQUIRES(kWorkerThread);
    void Dispatch(Command received) CAM_REQUIRES(kWorkerThread);
    HRESULT RunCommand(Command received) CAM_REQUIRES(kWorkerThread, graphMutex_);
    void HandleGraphEvent() CAM_REQUIRES(kWorkerThread);
    void HandlePowerMessage() CAM_REQUIRES(kWorkerThread, graphMutex_);

    const Application& application_;

    UniqueHandle commandEvent_;
    UniqueHandle graphEventHandle_;  // null until the graph is built; written and used by the worker
    platform::UniqueMessageQueue powerQueue_;
    DWORD threadId_ = 0;
    UniqueHandle threadHandle_;
    UniqueHandle doneEvent_;
    GraphMutex graphMutex_;

    Command command_ = Command::None;
    const wchar_t* stillFileName_ = nullptr;  // the caller's; valid while its command runs
    BYTE stillMode_ = 2;                      // encoding option, 0 to 2
    HRESULT commandResult_ = 0;

    platform::UniquePowerNotification powerNotification_;
    CaptureGraph graph_ CAM_GUARDED_BY(graphMutex_);
};

}  // namespace cam
