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
// A *caller* hands a command over by writing command and what belongs to it, setting commandEvent and
// waiting for doneEvent; the events publish the fields in both directions. While it waits it lets messages
// sent to its windows in, because the worker may be moving a child of one of them; the worker for its part
// dispatches messages while it waits for work, because the video window is its own. docs/camera.md has the
// whole picture.
class CameraWorker {
  public:
    explicit CameraWorker(const Application& user) : application(user), graph(user) {}
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
    GraphAccess Graph() CAM_UNCHECKED { return GraphAccess(graphMutex, graph); }

    const GraphFilters& Filters() const CAM_UNCHECKED { return graph.Filters(); }

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
    HRESULT Send(Command toSend);
    void EndThread();

    // On the worker
    static DWORD WINAPI Thread(void* worker);
    void Work() CAM_REQUIRES(kWorkerThread);
    void Dispatch(Command received) CAM_REQUIRES(kWorkerThread);
    void HandleGraphEvent() CAM_REQUIRES(kWorkerThread);
    void HandlePowerMessage() CAM_REQUIRES(kWorkerThread, graphMutex);

    const Application& application;

    UniqueHandle commandEvent;
    UniqueHandle graphEventHandle;  // null until the graph is built; written and used by the worker
    platform::UniqueMessageQueue powerQueue;
    DWORD threadId = 0;
    UniqueHandle threadHandle;
    UniqueHandle doneEvent;
    GraphMutex graphMutex;

    Command command = Command::None;
    const wchar_t* stillFileName = nullptr;  // the caller's; valid while its command runs
    BYTE stillMode = 2;                      // encoding option, 0 to 2
    HRESULT commandResult = 0;

    platform::UniquePowerNotification powerNotification;
    CaptureGraph graph CAM_GUARDED_BY(graphMutex);
};

}  // namespace cam
