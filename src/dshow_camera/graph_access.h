// The right to use the capture graph while the worker might restart preview on its own.
#pragma once

#include "base/hresult.h"
#include "base/message_wait.h"
#include "base/thread_annotations.h"
#include "base/unique_resource.h"
#include "dshow_camera/capture_graph.h"

namespace cam {

// Held by a *caller* that changes or asks the graph, and by the *worker* while it restarts preview after a
// resume: the one thing that the worker does to the graph unasked. A kernel object, so that the worker can
// wait for it and for commands at once. May be entered again by the thread that holds it: while it waits, a
// window procedure of that thread may call in.
class CAM_LOCKABLE("graph") GraphMutex {
  public:
    // Nothing happens when it exists. Until then there is no worker, and entering does nothing.
    HRESULT Create() {
        if (!handle) handle.reset(CreateMutexW(nullptr, FALSE, nullptr));
        return handle ? S_OK : HresultFromLastError();
    }

    // *Caller*: sent messages are let in meanwhile.
    void Enter() CAM_ACQUIRES() {
        if (handle) WaitLettingSentMessagesIn(handle.get());
    }
    // *Worker*, which never waits here but with Handle() in its list. The mutex of a thread that ended
    // without leaving it is there to be taken.
    bool TryEnter() { return WaitForSingleObject(handle.get(), 0) != WAIT_TIMEOUT; }
    void Leave() CAM_RELEASES() {
        if (handle) ReleaseMutex(handle.get());
    }

    HANDLE Handle() const { return handle.get(); }

    // Says to the analysis what it cannot see.
    void IsHeld() const CAM_ASSERTS() {}

  private:
    UniqueHandle handle;
};

// Whoever is not the worker reaches the graph through this alone, and holds it meanwhile. The worker defers a
// restart until then, and goes on dispatching messages.
class GraphAccess {
  public:
    GraphAccess(GraphMutex& toEnter, CaptureGraph& guarded) CAM_UNCHECKED : mutex(toEnter), graph(guarded) {
        mutex.Enter();
    }
    ~GraphAccess() CAM_UNCHECKED { mutex.Leave(); }
    GraphAccess(const GraphAccess&) = delete;
    GraphAccess& operator=(const GraphAccess&) = delete;

    CaptureGraph* operator->() const { return &graph; }

  private:
    GraphMutex& mutex;
    CaptureGraph& graph;
};

}  // namespace cam
