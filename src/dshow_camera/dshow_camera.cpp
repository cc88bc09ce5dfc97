#include "dshow_camera/dshow_camera.h"

#include "base/hresult.h"
#include "dshow_camera/settings_applier.h"

namespace cam {

// The members go afterwards, and with them what Shutdown left: the graph of a camera that never previewed.
DShowCamera::~DShowCamera() {
    Shutdown();
}

HRESULT DShowCamera::SetOwnerWindow(HWND window) {
    application.ownerWindow = window;
    return S_OK;
}

HRESULT DShowCamera::SetEventsWindow(HWND window) {
    application.eventsWindow = window;
    return S_OK;
}

HRESULT DShowCamera::RegisterMediaTypeCallback(camMediaTypeCallback callback) {
    application.mediaTypeCallback = callback;
    return S_OK;
}

// What was created before a failure stays, for Shutdown or the destructor.
HRESULT DShowCamera::Init(HWND window, const wchar_t* settingsPath, const wchar_t* settingsSection) {
    SetOwnerWindow(window);
    CAM_RETURN_IF_FAILED(worker.Start());
    HRESULT result = Open();
    if (FAILED(result)) return result;
    // No failure here is negative: the camera is up with or without its settings.
    if (settingsPath && settingsSection) result = ApplySettings(settingsPath, settingsSection);
    worker.Graph()->SetState(CameraState::Initialised);
    return result;
}

HRESULT DShowCamera::Open() {
    return worker.BuildGraph();
}

HRESULT DShowCamera::Shutdown() {
    StopPreview();
    worker.End();
    application.ownerWindow = nullptr;
    worker.Graph()->SetState(CameraState::None);
    return S_OK;
}

HRESULT DShowCamera::GetState(int* state) {
    return state ? worker.Graph()->GetState(state) : E_POINTER;
}

// A restart after a resume counts as a whole: while it lasts the state says stopped, and a caller that
// believed it would leave the preview running that it wants stopped. So the graph is held while it is asked.
HRESULT DShowCamera::StartPreview() {
    if (worker.Graph()->IsPreviewing()) return S_OK;
    return worker.StartPreview();
}

HRESULT DShowCamera::StopPreview() {
    if (!worker.Graph()->IsPreviewing()) return S_OK;
    return worker.StopPreview();
}

HRESULT DShowCamera::SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length,
                                 UINT_PTR position, UINT_PTR color, UINT_PTR font) {
    // A text that cannot be kept costs the stamp, not the picture.
    if (IStillImageSinkControl* sink = worker.Filters().Sink())
        sink->SetText(text, length, position, color, font);
    return worker.TriggerStill(fileName, static_cast<BYTE>(mode));
}

HRESULT DShowCamera::GetSnapshot(void* snapshot) {
    if (!snapshot) return E_POINTER;
    IStillImageSinkControl* sink = worker.Filters().Sink();
    if (!sink) return E_FAIL;
    sink->GetBitmap(static_cast<HBITMAP*>(snapshot));
    return S_OK;
}

// Asked once, and again only as long as there is no answer.
int DShowCamera::GetResolutionCount() {
    if (resolutionCount == 0) worker.Filters().CountStillFormats(&resolutionCount);
    return resolutionCount;
}

HRESULT DShowCamera::GetResolutionDimensions(long* height, long* width, int index) {
    return height && width ? worker.Filters().GetStillDimensions(height, width, index) : E_POINTER;
}

HRESULT DShowCamera::SetResolution(int index) {
    const HRESULT result = worker.Graph()->SetResolution(index);
    if (FAILED(result)) {
        platform::ShowMessageBox(GetForegroundWindow(), L"Error setting resolution", L"GraphManager", 0);
    }
    return result;
}

}  // namespace cam
