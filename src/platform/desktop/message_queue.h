// The writing side of the desktop's message queues.
#pragma once

#include <windows.h>

namespace cam::platform {

// Appends a copy of the message. FALSE: no such queue, it is full, the message is longer than its messages
// may be, or there is no memory for it; the message is lost then. Any thread.
BOOL WriteMsgQueue(HANDLE queue, const void* message, DWORD size);

}  // namespace cam::platform
