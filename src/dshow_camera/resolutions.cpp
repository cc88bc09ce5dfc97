// The change of the still pin's format, which reconnects the still branch.
#include "dshow_camera/capture_graph.h"

#include "base/hresult.h"

namespace cam {
namespace {

// The one capability record that is understood.
constexpr int kCapabilitySize = 128;
static_assert(sizeof(VIDEO_STREAM_CONFIG_CAPS) == kCapabilitySize);

bool CanBeStill(const AM_MEDIA_TYPE& type) {
    return type.majortype == MEDIATYPE_Video &&
           (type.subtype == MEDIASUBTYPE_YUY2 || type.subtype == MEDIASUBTYPE_RGB565);
}

}  // namespace

// One that is interrupted already goes on after this change, too.
void CaptureGraph::Interrupt() {
    OAFilterState running = State_Stopped;
    if (graph.mediaControl) graph.mediaControl->GetState(kStateTimeoutMs, &running);
    if (running != State_Running) return;
    isInterrupted = true;
    if (graph.videoWindow) graph.videoWindow->put_Owner(0);
    Sleep(kWindowSleepMs);
    graph.mediaControl->Pause();
    graph.mediaControl->Stop();
    Sleep(kHaltSleepMs);
}

void CaptureGraph::GoOn() {
    if (!isInterrupted) return;
    isInterrupted = false;
    if (graph.videoWindow)
        graph.videoWindow->put_Owner(reinterpret_cast<OAHWND>(application.ownerWindow.load()));
    Sleep(kWindowSleepMs);
    graph.mediaControl->Run();
    Sleep(kRunSleepMs);
}

// With the graph stopped. A failure after the pins have been parted leaves them so; the next successful call
// joins them again.
HRESULT CaptureGraph::ReconnectStillBranch(int index, bool* isRefused) {
    *isRefused = false;
    ComPtr<IAMStreamConfig> config;
    CAM_RETURN_IF_FAILED(filters.FindStillConfig(config));
    int count = 0;
    int size = 0;
    CAM_RETURN_IF_FAILED(config->GetNumberOfCapabilities(&count, &size));
    if (size != kCapabilitySize) return E_UNEXPECTED;
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(count)) return E_INVALIDARG;
    UniqueMediaType type;
    VIDEO_STREAM_CONFIG_CAPS capability = {};
    CAM_RETURN_IF_FAILED(config->GetStreamCaps(index, type.put(), reinterpret_cast<BYTE*>(&capability)));
    if (!graph.sink) return S_OK;
    if (!graph.sinkPin || !graph.stillPin) return E_FAIL;  // the graph was built that far and no further
    CAM_RETURN_IF_FAILED(graph.filterGraph->Disconnect(graph.sinkPin.get()));
    CAM_RETURN_IF_FAILED(graph.filterGraph->Disconnect(graph.stillPin.get()));
    CAM_RETURN_IF_FAILED(config->SetFormat(type.get()));
    return ConnectStillPins(isRefused);
}

// With the first of the still pin's types that the sink can take, and no other.
HRESULT CaptureGraph::ConnectStillPins(bool* isRefused) {
    ComPtr<IEnumMediaTypes> types;
    CAM_RETURN_IF_FAILED(graph.stillPin->EnumMediaTypes(types.put()));
    if (!types) return E_FAIL;
    types->Reset();
    constexpr int kMaxTypes = 1000;  // of a driver that lists them without an end
    UniqueMediaType type;
    for (int left = kMaxTypes; left > 0 && types->Next(1, type.put(), nullptr) == S_OK; --left) {
        if (!type || !CanBeStill(*type.get())) continue;
        const HRESULT result =
            graph.filterGraph->ConnectDirect(graph.stillPin.get(), graph.sinkPin.get(), type.get());
        if (SUCCEEDED(result)) return result;
        *isRefused = true;
        break;
    }
    return E_FAIL;
}

}  // namespace cam
