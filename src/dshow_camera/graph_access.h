// The right to use the capture graph while the worker might restart preview on its own.
#pragma once

#include "base/message_wait.h"

namespace cam {

// Held by the caller for the length of an operation on the graph that is no command. The worker defers a
// restart meanwhile, and goes on dispatching messages; it never waits for this in another way. Without a
// mutex there is no worker, and nothing to do.
class GraphAccess {
  public:
    explicit GraphAccess(HANDLE mutex) : mutex_(mutex) {
        if (mutex_) WaitLettingSentMessagesIn(mutex_);
    }
    ~GraphAccess() {
        if (mutex_) ReleaseMutex(mutex_);
    }
    GraphAccess(const GraphAccess&) = delete;
    GraphAccess& operator=(const GraphAccess&) = delete;

  private:
    const HANDLE mutex_;
};

}  // namespace cam
