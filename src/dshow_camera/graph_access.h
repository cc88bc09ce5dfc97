// The right to use the capture graph.
#pragma once

#include "base/hresult.h"
#include "platform/message_wait.h"
#include "base/thread_annotations.h"
#include "base/unique_resource.h"
#include "dshow_camera/capture_graph.h"
#include "platform/platform.h"

namespace cam {

// How long a *caller* waits for the graph or for the worker.
enum class Patience {
    // Until they are free; but not while the thread answers a message whose sender may be who has them, and
    // waits for the answer.
    Usual,
    // Until they are free, when it is known that the sender is neither.
    Endless
};

// Held by a *caller* that uses the graph or has the worker use it, and by the *worker* while it restarts
// preview after a resume: the one thing that the worker does to the graph unasked. A kernel object, so that
// the worker can wait for it and for commands at once.
class CAM_LOCKABLE("graph") GraphMutex {
  public:
    // Nothing happens when it exists. Until then there is no worker, and entering does nothing.
    HRESULT Create() {
        if (!handle) handle.reset(CreateMutexW(nullptr, FALSE, nullptr));
        return handle ? S_OK : HresultFromLastError();
    }

    // *Caller*: whether it is held now. Sent messages are let in meanwhile; what they call may find the graph
    // free, but never takes it from another call of the same thread.
    bool Enter(Patience patience) CAM_UNCHECKED {
        if (!handle) return true;
        if (holder == GetCurrentThreadId() || worker == GetCurrentThreadId()) return false;
        const bool mayWait = patience == Patience::Endless || !platform::IsSenderWaiting();
        const DWORD waited = WaitLettingSentMessagesIn(handle.get(), mayWait ? INFINITE : 0);
        if (waited == WAIT_TIMEOUT || waited == WAIT_FAILED) return false;
        TakenByWait();
        return true;
    }
    // *Worker*, at its beginning: what calls in on its thread, from a callback or a window procedure, would
    // wait for itself.
    void SetWorker() { worker = GetCurrentThreadId(); }
    // *Worker*, which never waits here but with Handle() in its list, and says so with TakenByWait. The mutex
    // of a thread that ended without leaving it is there to be taken.
    bool TryEnter() {
        const DWORD waited = WaitForSingleObject(handle.get(), 0);
        if (waited == WAIT_TIMEOUT || waited == WAIT_FAILED) return false;
        TakenByWait();
        return true;
    }
    void TakenByWait() { holder = GetCurrentThreadId(); }
    void Leave() CAM_UNCHECKED {
        if (!handle) return;
        holder = 0;
        ReleaseMutex(handle.get());
    }

    HANDLE Handle() const { return handle.get(); }

    // Says to the analysis what it cannot see.
    void IsHeld() const CAM_ASSERTS() {}

  private:
    UniqueHandle handle;
    std::atomic<DWORD> holder = 0;  // a thread's id; 0: nobody
    std::atomic<DWORD> worker = 0;
};

// Whoever is not the worker reaches the graph through this alone, and holds it meanwhile, if it is to be had.
// The worker defers a restart until then, and goes on dispatching messages.
class GraphAccess {
  public:
    GraphAccess(GraphMutex& toEnter, CaptureGraph& guarded, Patience patience) CAM_UNCHECKED
        : mutex(toEnter),
          graph(guarded),
          isHeld(mutex.Enter(patience)) {}
    ~GraphAccess() { LetGo(); }
    GraphAccess(const GraphAccess&) = delete;
    GraphAccess& operator=(const GraphAccess&) = delete;

    explicit operator bool() const { return isHeld; }
    CaptureGraph* operator->() const { return &graph; }

    // For something in the middle of a change that may take as long as a user likes.
    void LetGo() CAM_UNCHECKED {
        if (isHeld) mutex.Leave();
        isHeld = false;
    }
    // Whoever had the graph once, and knows that the worker does not wait for this thread, can wait for it:
    // it was free, so that no sender has it who waits for this thread.
    void TakeAgain() CAM_UNCHECKED { isHeld = mutex.Enter(Patience::Endless); }

  private:
    GraphMutex& mutex;
    CaptureGraph& graph;
    bool isHeld;
};

}  // namespace cam
