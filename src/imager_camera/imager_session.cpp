#include "imager_camera/imager_session.h"

#include "base/insist.h"
#include "platform/platform.h"

namespace cam {

ImagerSession::ImagerSession() : threadsEnded(CreateEventW(nullptr, TRUE, TRUE, nullptr)) {}

void ImagerSession::Release() {
    if (--owners == 0) delete this;
}

HRESULT ImagerSession::Notify(ImagerNotice notice, const wchar_t* text) const {
    if (!text || !*text) return E_POINTER;
    const HWND window = eventsWindow;
    if (notice == ImagerNotice::StillCaptured && window)
        Insist([window] { return PostMessageW(window, CAM_MESSAGE_STILL_CAPTURED, 0, 0) != FALSE; });
    return S_OK;
}

void ImagerSession::End(Ending how) {
    const auto held = progress.Locked();
    ending = how;
}

void ImagerSession::CountThreadIn() {
    const auto held = progress.Locked();
    ++held->runningThreads;
    platform::EventModify(threadsEnded.get(), platform::kEventReset);
}

void ImagerSession::CountThreadOut() {
    const auto held = progress.Locked();
    if (--held->runningThreads == 0) Signal(threadsEnded.get());
}

}  // namespace cam
