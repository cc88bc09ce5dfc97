// The still pin's stream capabilities as resolutions. All of it runs on the caller.

#include <cstdlib>
#include <memory>
#include <new>

#include "base/hresult.h"
#include "base/unique_resource.h"
#include "dshow_camera/dshow_camera.h"
#include "dshow_camera/graph_access.h"
#include "filter_base/media_type.h"

namespace cam {
namespace {

constexpr int kCurrentFormat = -1;

// The size of a format block must be above this: a plain VIDEOINFOHEADER of a format without colour masks
// does not count.
constexpr ULONG kPlainVideoInfo = 88;

// The one capability record that SetResolution understands.
constexpr int kCapabilitySize = 128;
static_assert(sizeof(VIDEO_STREAM_CONFIG_CAPS) == kCapabilitySize);

struct MediaTypePolicy {  // a record that another filter hands out
    using Type = AM_MEDIA_TYPE*;
    static Type Empty() { return nullptr; }
    static void Close(Type type) { filter_base::DeleteMediaType(type); }
};
using UniqueMediaType = UniqueResource<MediaTypePolicy>;

HRESULT FindStillConfig(const CaptureGraph& graph, ComPtr<IAMStreamConfig>& out) {
    if (!graph.builder || !graph.captureFilter) return E_FAIL;
    return graph.builder->FindInterface(&PIN_CATEGORY_STILL, &MEDIATYPE_Video, graph.captureFilter.get(),
                                        __uuidof(IAMStreamConfig), out.putVoid());
}

HRESULT GetCapability(IAMStreamConfig& config, int index, UniqueMediaType& type) {
    int count = 0;
    int size = 0;
    CAM_RETURN_IF_FAILED(config.GetNumberOfCapabilities(&count, &size));
    if (index >= count) return E_INVALIDARG;
    const std::unique_ptr<BYTE[]> capability(new (std::nothrow) BYTE[static_cast<size_t>(size)]);
    if (!capability) return E_OUTOFMEMORY;
    return config.GetStreamCaps(index, type.put(), capability.get());
}

bool CanBeStill(const AM_MEDIA_TYPE& type) {
    return type.majortype == MEDIATYPE_Video &&
           (type.subtype == MEDIASUBTYPE_YUY2 || type.subtype == MEDIASUBTYPE_RGB565);
}

void ShowFailure(const wchar_t* text, const wchar_t* caption) {
    platform::ShowMessageBox(GetForegroundWindow(), text, caption, 0);
}

}  // namespace

// Asked once, and again only as long as there is no answer.
int DShowCamera::GetResolutionCount() {
    if (resolutionCount == 0) {
        ComPtr<IAMStreamConfig> config;
        int size = 0;
        if (SUCCEEDED(FindStillConfig(graph, config)))
            config->GetNumberOfCapabilities(&resolutionCount, &size);
    }
    return resolutionCount;
}

HRESULT DShowCamera::GetResolutionDimensions(long* height, long* width, int index) {
    if (!height || !width) return E_POINTER;
    ComPtr<IAMStreamConfig> config;
    CAM_RETURN_IF_FAILED(FindStillConfig(graph, config));
    UniqueMediaType type;
    CAM_RETURN_IF_FAILED(index == kCurrentFormat ? config->GetFormat(type.put())
                                                 : GetCapability(*config.get(), index, type));
    if (!type || type.get()->formattype != FORMAT_VideoInfo || type.get()->cbFormat <= kPlainVideoInfo ||
        !type.get()->pbFormat) {
        return E_UNEXPECTED;
    }
    const BITMAPINFOHEADER& bitmap =
        reinterpret_cast<const VIDEOINFOHEADER*>(type.get()->pbFormat)->bmiHeader;
    *height = labs(bitmap.biHeight);
    *width = bitmap.biWidth;
    return S_OK;
}

HRESULT DShowCamera::SetResolution(int index) {
    HRESULT result = E_FAIL;
    {
        const GraphAccess access(graphMutex.get());
        OAFilterState running = State_Stopped;
        if (graph.mediaControl) graph.mediaControl->GetState(kStateTimeoutMs, &running);
        if (running == State_Running) {
            if (graph.videoWindow) graph.videoWindow->put_Owner(0);
            Sleep(kWindowSleepMs);
            graph.mediaControl->Pause();
            graph.mediaControl->Stop();
            Sleep(kHaltSleepMs);
        }
        result = ReconnectStillBranch(index);
        if (running == State_Running) {
            if (graph.videoWindow) graph.videoWindow->put_Owner(reinterpret_cast<OAHWND>(ownerWindow.load()));
            Sleep(kWindowSleepMs);
            graph.mediaControl->Run();
            Sleep(kRunSleepMs);
        }
    }
    if (FAILED(result)) ShowFailure(L"Error setting resolution", L"GraphManager");
    return result;
}

// With the graph stopped. A failure after the pins have been parted leaves them so; the next successful call
// joins them again.
HRESULT DShowCamera::ReconnectStillBranch(int index) {
    ComPtr<IAMStreamConfig> config;
    CAM_RETURN_IF_FAILED(FindStillConfig(graph, config));
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
    CAM_RETURN_IF_FAILED(ConnectStillPins());
    currentResolution = index;
    return S_OK;
}

// With the first of the still pin's types that the sink can take, and no other.
HRESULT DShowCamera::ConnectStillPins() {
    ComPtr<IEnumMediaTypes> types;
    CAM_RETURN_IF_FAILED(graph.stillPin->EnumMediaTypes(types.put()));
    types->Reset();
    UniqueMediaType type;
    while (types->Next(1, type.put(), nullptr) == S_OK) {
        if (!CanBeStill(*type.get())) continue;
        const HRESULT result =
            graph.filterGraph->ConnectDirect(graph.stillPin.get(), graph.sinkPin.get(), type.get());
        if (SUCCEEDED(result)) return result;
        ShowFailure(L"Couldn't reconnect", L"SetStillImageResolution");
        break;
    }
    return E_FAIL;
}

}  // namespace cam
