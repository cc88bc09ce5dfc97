#include "platform/platform.h"

namespace cam::platform {
namespace {

constexpr COLORREF kColorMask = 0x00FFFFFF;

}  // namespace

BOOL EventModify(HANDLE event, DWORD function) {
    switch (function) {
        case kEventPulse:
            return PulseEvent(event);
        case kEventReset:
            return ResetEvent(event);
        case kEventSet:
            return SetEvent(event);
        default:
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
    }
}

bool IsSenderWaiting() {
    return (InSendMessageEx(nullptr) & (ISMEX_SEND | ISMEX_REPLIED)) == ISMEX_SEND;
}

void LetSentMessagesIn() {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
}

COLORREF DeviceTextColor(COLORREF color) {
    return color & kColorMask;
}

}  // namespace cam::platform
