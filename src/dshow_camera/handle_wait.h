// The worker's wait for its handles.
#pragma once

#include <windows.h>

namespace cam {

// Up to three handles to wait for, any of which may be missing. The indices are those of the full list.
class HandleWait {
  public:
    void Set(DWORD index, HANDLE handle) { handles[index] = handle; }

    // The index of a handle that is signalled (the lowest, if several are), or WAIT_TIMEOUT after
    // `timeoutMs`; any other value means that the wait failed. Messages to windows of this thread are
    // dispatched meanwhile, one between two looks at the handles, so that no flood of them keeps a command
    // waiting. A system that is short of something may refuse to wait for messages: then they are looked for
    // now and then.
    DWORD Wait(DWORD timeoutMs) const {
        HANDLE present[kMaxHandles];
        DWORD indices[kMaxHandles];
        DWORD count = 0;
        for (DWORD index = 0; index < kMaxHandles; ++index) {
            if (!handles[index]) continue;
            present[count] = handles[index];
            indices[count++] = index;
        }
        const DWORD started = GetTickCount();
        for (;;) {
            const DWORD passed = GetTickCount() - started;
            const DWORD left = passed < timeoutMs ? timeoutMs - passed : 0;
            DWORD woken = MsgWaitForMultipleObjectsEx(count, present, left, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            if (woken == WAIT_FAILED) {
                woken = WaitForMultipleObjects(count, present, FALSE, left < kLookMs ? left : kLookMs);
                if (woken == WAIT_TIMEOUT) woken = WAIT_OBJECT_0 + count;
            }
            if (woken < WAIT_OBJECT_0 + count) return indices[woken - WAIT_OBJECT_0];
            // A mutex whose owner ended without releasing it is this thread's now.
            if (woken >= WAIT_ABANDONED_0 && woken < WAIT_ABANDONED_0 + count) {
                return indices[woken - WAIT_ABANDONED_0];
            }
            if (woken != WAIT_OBJECT_0 + count) return woken;
            if (left == 0) return WAIT_TIMEOUT;
            DispatchOne();
        }
    }

  private:
    static constexpr DWORD kMaxHandles = 3;
    static constexpr DWORD kLookMs = 10;

    static void DispatchOne() {
        MSG message;
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }

    HANDLE handles[kMaxHandles] = {};
};

}  // namespace cam
