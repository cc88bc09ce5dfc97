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
    worker.Graph(Patience::Endless)->SetState(CameraState::Initialised);
    return result;
}

HRESULT DShowCamera::Open() {
    const GraphAccess graph = worker.GraphForCommand();
    return graph ? worker.BuildGraph() : kNotNow;
}

bool DShowCamera::CanEnd() {
    return worker.CanEnd();
}

// To the end with the graph in hand, and nothing refused: CanEnd has said that this thread can wait.
HRESULT DShowCamera::Shutdown() {
    const GraphAccess graph = worker.Graph(Patience::Endless);
    if (graph->IsPreviewing()) worker.StopPreview(Patience::Endless);
    worker.End();
    application.ownerWindow = nullptr;
    graph->SetState(CameraState::None);
    return S_OK;
}

// Where the graph is not to be had the state is what was told of it last; a camera that is still being built
// has none.
HRESULT DShowCamera::GetState(int* state) {
    if (!state) return E_POINTER;
    if (const GraphAccess graph = worker.Graph()) return graph->GetState(state);
    *state = static_cast<int>(worker.State());
    return worker.State() == CameraState::None ? E_FAIL : S_OK;
}

// A restart after a resume counts as a whole: while it lasts the state says stopped, and a caller that
// believed it would leave the preview running that it wants stopped. So the graph is held while it is asked.
HRESULT DShowCamera::StartPreview() {
    const GraphAccess graph = worker.GraphForCommand();
    if (!graph) return kNotNow;
    return graph->IsPreviewing() ? S_OK : worker.StartPreview();
}

HRESULT DShowCamera::StopPreview() {
    const GraphAccess graph = worker.GraphForCommand();
    if (!graph) return kNotNow;
    return graph->IsPreviewing() ? worker.StopPreview(Patience::Usual) : S_OK;
}

HRESULT DShowCamera::SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length,
                                 UINT_PTR position, UINT_PTR color, UINT_PTR font) {
    const GraphAccess graph = worker.GraphForCommand();
    // A picture that is refused leaves the text of one that is on its way.
    if (!graph || !worker.Listens()) return kNotNow;
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

// A box stays for as long as its user likes, so the graph is given away meanwhile: the camera answers, and
// may be stopped or resume.
HRESULT DShowCamera::SetResolution(int index) {
    GraphAccess graph = worker.Graph();
    // In a message of the worker's the graph could not be had again once somebody else waits with it for the
    // worker.
    if (!graph || !worker.Listens()) return kNotNow;
    graph->Interrupt();
    bool isRefused = false;
    const HRESULT result = graph->ReconnectStillBranch(index, &isRefused);
    if (isRefused) {
        graph.LetGo();
        platform::ShowMessageBox(GetForegroundWindow(), L"Couldn't reconnect", L"SetStillImageResolution", 0);
        graph.TakeAgain();
    }
    graph->GoOn();
    graph.LetGo();
    if (FAILED(result)) {
        platform::ShowMessageBox(GetForegroundWindow(), L"Error setting resolution", L"GraphManager", 0);
    }
    return result;
}

}  // namespace cam
