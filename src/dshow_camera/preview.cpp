#include "dshow_camera/capture_graph.h"

#include <cstring>

#include "base/hresult.h"
#include "filter_base/media_type.h"

namespace cam {
namespace {

constexpr long kVideoWindowStyle = WS_CHILD | WS_CLIPSIBLINGS;

constexpr DWORD kUnitsPerSecond = 10'000'000;  // of 100 ns
// Where every format block that begins like a VIDEOINFOHEADER has its average time per frame.
constexpr size_t kTimePerFrameOffset = 40;
static_assert(offsetof(VIDEOINFOHEADER, AvgTimePerFrame) == kTimePerFrameOffset);

LONG FormatCode(const GUID& subtype) {
    if (subtype == MEDIASUBTYPE_YUY2) return CAM_FORMAT_YUY2;
    if (subtype == MEDIASUBTYPE_RGB555) return CAM_FORMAT_RGB555;
    if (subtype == MEDIASUBTYPE_RGB565) return CAM_FORMAT_RGB565;
    return CAM_FORMAT_OTHER;
}

// Whole frames; 0 when the type does not say. Only the low half of the 64-bit time counts.
LONG FramesPerSecond(const AM_MEDIA_TYPE& type) {
    const bool beginsLikeVideoInfo =
        type.formattype == FORMAT_VideoInfo || type.formattype == FORMAT_MPEGVideo ||
        type.formattype == FORMAT_VideoInfo2 || type.formattype == FORMAT_MPEG2Video;
    DWORD timePerFrame = 0;
    if (!beginsLikeVideoInfo || !type.pbFormat || type.cbFormat < kTimePerFrameOffset + sizeof timePerFrame)
        return 0;
    memcpy(&timePerFrame, type.pbFormat + kTimePerFrameOffset, sizeof timePerFrame);
    return timePerFrame ? static_cast<LONG>(kUnitsPerSecond / timePerFrame) : 0;
}

}  // namespace

HRESULT CaptureGraph::Run() {
    CheckThread(kWorkerThread);
    if (!graph.mediaControl) return E_FAIL;
    // Without an owner the renderer shows its own window.
    if (application.ownerWindow) {
        const HRESULT placed = PlaceVideoWindow();
        if (FAILED(placed)) {
            Notify(Notification::StartPreviewFailed, L"Start preview failed.");
            return placed;
        }
    }
    isInterrupted = false;
    graph.mediaControl->Run();
    OAFilterState running = State_Stopped;
    const HRESULT result = graph.mediaControl->GetState(kStateTimeoutMs, &running);
    if (running == State_Running) {
        if (!graph.grabberControl) return E_FAIL;
        TellMediaType();
        state = CameraState::Previewing;
    }
    return result;
}

// The video fills the owner's client area.
HRESULT CaptureGraph::PlaceVideoWindow() {
    const HWND owner = application.ownerWindow;
    if (!graph.videoWindow) CAM_RETURN_IF_FAILED(graph.filterGraph.QueryTo(graph.videoWindow));
    IVideoWindow& video = *graph.videoWindow.get();
    CAM_RETURN_IF_FAILED(video.put_Owner(reinterpret_cast<OAHWND>(owner)));
    CAM_RETURN_IF_FAILED(video.put_MessageDrain(reinterpret_cast<OAHWND>(owner)));
    RECT client = {};
    if (!GetClientRect(owner, &client)) return FailureFromLastError();
    CAM_RETURN_IF_FAILED(
        video.SetWindowPosition(0, 0, client.right - client.left, client.bottom - client.top));
    CAM_RETURN_IF_FAILED(video.put_WindowStyle(kVideoWindowStyle));
    Sleep(kWindowSleepMs);
    CAM_RETURN_IF_FAILED(video.put_Visible(OATRUE));
    Sleep(kWindowSleepMs);
    return S_OK;
}

// The geometry comes from the grabber even when its input has no type.
void CaptureGraph::TellMediaType() {
    LONG formatCode = CAM_FORMAT_OTHER;
    LONG framesPerSecond = 0;
    filter_base::MediaType type;
    if (SUCCEEDED(graph.grabberControl->GetInputMediaType(type.put()))) {
        formatCode = FormatCode(type.subtype);
        framesPerSecond = FramesPerSecond(type);
    }
    FrameGeometry frame = {};
    graph.grabberControl->GetGeometry(&frame);
    if (const camMediaTypeCallback callback = application.mediaTypeCallback) {
        callback(frame.height, frame.width, frame.sampleSize, frame.stride, formatCode, framesPerSecond);
    }
}

// Pause and Stop pass on what the filters answered: only failures count. A preview that never had an owner
// has no window to put away.
HRESULT CaptureGraph::Halt() {
    CheckThread(kWorkerThread);
    if (!graph.mediaControl) return E_FAIL;
    HRESULT result = graph.mediaControl->Pause();
    if (SUCCEEDED(result)) result = graph.mediaControl->Stop();
    if (SUCCEEDED(result)) Sleep(kHaltSleepMs);
    if (SUCCEEDED(result) && graph.videoWindow) result = graph.videoWindow->put_Visible(OAFALSE);
    if (SUCCEEDED(result) && graph.videoWindow) result = graph.videoWindow->put_Owner(0);
    if (FAILED(result)) {
        Notify(Notification::StopPreviewFailed, L"Stop preview failed.");
        return result;
    }
    isInterrupted = false;
    state = CameraState::Stopped;
    return S_OK;
}

}  // namespace cam
