#include "dshow_camera/capture_graph.h"

#include "base/insist.h"

namespace cam {

void CaptureGraph::HandleEvent() {
    CheckThread(kWorkerThread);
    if (!graph.builder) return;
    ComPtr<IMediaEvent> events;
    if (FAILED(graph.filterGraph.QueryTo(events))) return;
    long code = 0;
    LONG_PTR first = 0;
    LONG_PTR second = 0;
    if (FAILED(events->GetEvent(&code, &first, &second, 0))) return;
    if (code == kEventStillCaptured) {
        state = CameraState::Previewing;  // even if preview did not run when the still was triggered
        Notify(Notification::StillCaptured, L"File captured ...");
    }
    events->FreeEventParams(code, first, second);
}

HRESULT CaptureGraph::GetState(int* out) const {
    if (!graph.mediaControl) return E_FAIL;
    OAFilterState running = State_Stopped;
    graph.mediaControl->GetState(kStateTimeoutMs, &running);
    *out = static_cast<int>(running == State_Paused ? CameraState::Paused : state.load());
    return S_OK;
}

void CaptureGraph::ReleaseIfItRan() {
    if (state >= CameraState::Stopped) graph.Release();
}

HRESULT CaptureGraph::Notify(Notification what, const wchar_t* text) const {
    if (!text || !*text) return E_POINTER;
    const HWND window = application.eventsWindow;
    if (what == Notification::StillCaptured && window)
        Insist([window] { return PostMessageW(window, CAM_MESSAGE_STILL_CAPTURED, 0, 0) != FALSE; });
    return S_OK;
}

}  // namespace cam
