// Waits that serve this thread's messages.
#pragma once

#include <windows.h>

#include <functional>

// Long enough for anything that works at all, so that a slow machine does not fail a test.
constexpr DWORD kLongEnough = 10000;  // ms

// Serves messages until `done`, or until the time is over; whether it is done.
inline bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs = kLongEnough) {
    const DWORD started = GetTickCount();
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        if (done()) return true;
        if (GetTickCount() - started > timeoutMs) return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
}

inline void PumpFor(DWORD ms) {
    PumpUntil([] { return false; }, ms);
}
