// The thread that works a camera's capture graph.
#pragma once

#include <windows.h>

#include <atomic>

#include "base/hresult.h"
#include "base/unique_resource.h"
#include "dshow_camera/graph_access.h"
#include "platform/owners.h"
#include "platform/platform.h"

namespace cam {

// Owns the graph and lets nobody at it but its thread, the *worker*, and who holds a GraphAccess. The worker
// builds the graph, starts and stops preview and triggers stills when it is told to, takes the graph's
// events, and restarts preview after a resume.
//
// A *caller* hands a command over by writing command and what belongs to it, setting commandEvent and
// waiting for doneEvent; the events publish the fields in both directions. It holds the graph meanwhile, so
// that there is one command at a time. While it waits it lets messages sent to its windows in, because the
// worker may be moving a child of one of them; the worker for its part dispatches messages while it waits for
// work, because the video window is its own. A caller that answers a message at this moment waits for the
// worker only as long as the worker listens: it may be the worker's own message. docs/camera.md has the whole
// picture.
class CameraWorker {
  public:
    explicit CameraWorker(const Application& user) : application(user), graph(user) {}
    CameraWorker(const CameraWorker&) = delete;
    CameraWorker& operator=(const CameraWorker&) = delete;

    // Creates the handles and the thread. What was created before a failure stays, for End; what exists
    // already is used again.
    HRESULT Start();

    // Whether this thread can wait for the worker's end now.
    bool CanEnd();

    // Ends the thread, closes the handles and lets go of a graph that has run. Start begins anew. The graph
    // must be held, and CanEnd.
    void End();

    // Whether a command would be taken up. The graph must be held.
    bool Listens();

    // Commands: what the worker's routine of the same name gives, E_FAIL without a worker, kNotNow when the
    // worker does not listen and must not be waited for. The graph must be held.
    HRESULT BuildGraph() { return Send(Command::BuildGraph); }
    HRESULT StartPreview() { return Send(Command::StartPreview); }
    HRESULT StopPreview(Patience patience) { return Send(Command::StopPreview, patience); }
    HRESULT TriggerStill(const wchar_t* fileName, BYTE mode);

    // Holds the graph for as long as the result lives, if it is to be had. GraphForCommand: to send a
    // command, which the worker would wait for in vain.
    GraphAccess GraphForCommand() CAM_UNCHECKED {
        CheckThread(kCallerThread);
        return Graph();
    }
    GraphAccess Graph(Patience patience = Patience::Usual) CAM_UNCHECKED {
        return GraphAccess(graphMutex, graph, patience);
    }
    // What is known of the graph without it.
    CameraState State() const CAM_UNCHECKED { return graph.State(); }

    const GraphFilters& Filters() const CAM_UNCHECKED { return graph.Filters(); }

  private:
    enum class Command : int {
        BuildGraph = 0,
        Answer = 1,  // nothing but that the worker listens
        LeaveThread = 2,
        TriggerStill = 5,
        None = 7,  // means nothing, and is never sent
        StartPreview = 8,
        StopPreview = 9
    };

    // In this order the worker waits for them: the place is the wait's index.
    enum WaitIndex : DWORD { kCommandIndex, kGraphEventIndex, kPowerIndex };

    // On the caller
    HRESULT Send(Command toSend, Patience patience = Patience::Usual);
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

    std::atomic<Command> command = Command::None;  // None again once the worker has it
    const wchar_t* stillFileName = nullptr;        // the caller's; valid while its command runs
    BYTE stillMode = 2;                            // encoding option, 0 to 2
    HRESULT commandResult = 0;

    const platform::ApartmentUse apartment;
    platform::UniquePowerNotification powerNotification;
    CaptureGraph graph CAM_GUARDED_BY(graphMutex);
};

}  // namespace cam
