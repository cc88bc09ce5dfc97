// The wait of a thread that may own windows for another thread's work.
#pragma once

#include <windows.h>

#include "platform/platform.h"

namespace cam {

// Waits for `handle`, by default without time-out, and meanwhile lets messages in that other threads send to
// windows of this thread: the awaited thread may be moving or re-parenting a child of such a window, and both
// would hang otherwise. Posted messages stay in the queue. Returns what MsgWaitForMultipleObjectsEx does:
// WAIT_OBJECT_0, WAIT_ABANDONED_0, WAIT_TIMEOUT or WAIT_FAILED; the last only for a handle that is none. A
// system that is short of something may refuse to wait for messages: then they are let in now and then.
inline DWORD WaitLettingSentMessagesIn(HANDLE handle, DWORD timeoutMs = INFINITE) {
    const DWORD start = GetTickCount();
    for (;;) {
        const DWORD gone = timeoutMs == INFINITE ? 0 : GetTickCount() - start;
        const DWORD left = gone < timeoutMs ? timeoutMs - gone : 0;
        const DWORD woken =
            MsgWaitForMultipleObjectsEx(1, &handle, left, QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
        if (woken == WAIT_FAILED) {
            constexpr DWORD kLookMs = 10;
            const DWORD waited = WaitForSingleObject(handle, left < kLookMs ? left : kLookMs);
            if (waited != WAIT_TIMEOUT || left <= kLookMs) return waited;
        } else if (woken != WAIT_OBJECT_0 + 1) {
            return woken;
        }
        platform::LetSentMessagesIn();
    }
}

}  // namespace cam
