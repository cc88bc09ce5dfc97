// What the parts of the run-time support know of each other.
#pragma once

namespace ce {

// The exception machinery's state of each thread hangs on one thread-local slot.
void AllocateThreadState();  // the slot itself, at process attach
void FreeThreadState();      // the calling thread's state
void ReleaseThreadState();   // the slot, at process detach

}  // namespace ce
