// What the system refuses now and then because it is short of something, and may grant a moment later.
#pragma once

#include <windows.h>

namespace cam {

// Whether one of ten attempts, a millisecond apart, succeeded. For what somebody else waits for without end.
template <typename Attempt>
bool Insist(Attempt attempt) {
    constexpr int kAttempts = 10;
    for (int made = 0; made < kAttempts; ++made) {
        if (made > 0) Sleep(1);
        if (attempt()) return true;
    }
    return false;
}

inline bool Signal(HANDLE event) {
    return Insist([event] { return SetEvent(event) != FALSE; });
}

}  // namespace cam
