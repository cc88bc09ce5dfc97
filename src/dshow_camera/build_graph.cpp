// Building the graph: capture filter -> sample grabber -> video renderer for preview, capture filter -> still
// image sink for pictures. The order of the calls is part of the camera's behaviour; drivers depend on it.

#include "dshow_camera/capture_graph.h"

#include <utility>

#include "base/automation.h"
#include "base/hresult.h"
#include "dshow_camera/camera_device_search.h"
#include "dshow_camera/frame_callbacks.h"
#include "dshow_camera/identifiers.h"
#include "dshow_camera/memory_property_bag.h"
#include "platform/platform.h"

namespace cam {
namespace {

constexpr wchar_t kDeviceNameProperty[] = L"VCapName";

template <typename Interface>
HRESULT Create(const CLSID& classId, DWORD context, ComPtr<Interface>& out) {
    return CoCreateInstance(classId, nullptr, context, __uuidof(Interface), out.putVoid());
}

// One of the library's own filters.
HRESULT CreateOwn(const CLSID& classId, DWORD context, ComPtr<IBaseFilter>& out) {
    return platform::CreateOwnFilter(classId, context, __uuidof(IBaseFilter), out.putVoid());
}

// The first pin of the filter, whatever the enumerator says on the way.
HRESULT FirstPin(IBaseFilter& filter, ComPtr<IPin>& out) {
    ComPtr<IEnumPins> pins;
    CAM_RETURN_IF_FAILED(filter.EnumPins(pins.put()));
    if (!pins) return E_FAIL;
    pins->Reset();
    pins->Next(1, out.put(), nullptr);
    return S_OK;
}

}  // namespace

HRESULT CaptureGraph::Build(UniqueHandle& eventHandle) {
    CheckThread(kWorkerThread);
    if (state >= CameraState::Stopped) return S_OK;
    const HRESULT result = BuildSteps(eventHandle);
    if (FAILED(result)) Notify(Notification::Failed, L"Building the graph failed");
    return result;
}

// What has been made when a step fails stays, for shutdown or the destructor.
HRESULT CaptureGraph::BuildSteps(UniqueHandle& eventHandle) {
    CAM_RETURN_IF_FAILED(Create(CLSID_CaptureGraphBuilder, CLSCTX_ALL, graph.builder));
    CAM_RETURN_IF_FAILED(Create(CLSID_FilterGraph, CLSCTX_ALL, graph.filterGraph));
    CAM_RETURN_IF_FAILED(graph.builder->SetFiltergraph(graph.filterGraph.get()));
    CAM_RETURN_IF_FAILED(graph.filterGraph.QueryTo(graph.mediaControl));

    CAM_RETURN_IF_FAILED(
        platform::CreateCaptureFilter(kClsidVideoCapture, FindCameraDevice, graph.captureFilter.put()));
    CAM_RETURN_IF_FAILED(LoadCaptureDriver());
    CAM_RETURN_IF_FAILED(
        graph.filterGraph->AddFilter(graph.captureFilter.get(), L"Video Capture Filter Source"));

    CAM_RETURN_IF_FAILED(Create(CLSID_VideoRenderer, CLSCTX_INPROC_SERVER, graph.videoRenderer));
    CAM_RETURN_IF_FAILED(graph.filterGraph->AddFilter(graph.videoRenderer.get(), L"Video Renderer"));
    CAM_RETURN_IF_FAILED(CreateOwn(kClsidSampleGrabber, CLSCTX_INPROC, graph.grabber));
    CAM_RETURN_IF_FAILED(graph.filterGraph->AddFilter(graph.grabber.get(), L"SampleGrabber"));
    CAM_RETURN_IF_FAILED(graph.grabber.QueryTo(graph.grabberControl));
    CAM_RETURN_IF_FAILED(graph.grabberControl->SetCallback(PreviewCallback()));
    CAM_RETURN_IF_FAILED(graph.builder->RenderStream(&PIN_CATEGORY_PREVIEW, &MEDIATYPE_Video,
                                                     graph.captureFilter.get(), graph.grabber.get(),
                                                     graph.videoRenderer.get()));
    ComPtr<IMediaEventSink> eventSink;  // asked for, not used
    graph.filterGraph.QueryTo(eventSink);

    CAM_RETURN_IF_FAILED(CreateOwn(kClsidStillImageSink, CLSCTX_INPROC_SERVER, graph.sink));
    CAM_RETURN_IF_FAILED(graph.filterGraph->AddFilter(graph.sink.get(), L"Still image sink"));
    CAM_RETURN_IF_FAILED(graph.builder->RenderStream(&PIN_CATEGORY_STILL, &MEDIATYPE_Video,
                                                     graph.captureFilter.get(), nullptr, graph.sink.get()));
    CAM_RETURN_IF_FAILED(graph.sink.QueryTo(graph.sinkControl));
    CAM_RETURN_IF_FAILED(graph.sinkControl->SetCallback(StillImageCallback()));

    ComPtr<IUnknown> capture;  // asked for, not used
    graph.captureFilter.QueryTo(capture);
    CAM_RETURN_IF_FAILED(graph.builder->FindPin(graph.captureFilter.get(), PINDIR_OUTPUT, &PIN_CATEGORY_STILL,
                                                &MEDIATYPE_Video, FALSE, 0, graph.stillPin.put()));
    CAM_RETURN_IF_FAILED(FirstPin(*graph.sink.get(), graph.sinkPin));
    CAM_RETURN_IF_FAILED(graph.captureFilter.QueryTo(graph.videoControl));
    CAM_RETURN_IF_FAILED(DuplicateEventHandle(eventHandle));

    state = CameraState::Stopped;
    Notify(Notification::GraphBuilt, L"Framegraph created");
    return S_OK;
}

// Tells the capture filter which driver to open.
HRESULT CaptureGraph::LoadCaptureDriver() {
    ComPtr<IPersistPropertyBag> persist;
    CAM_RETURN_IF_FAILED(graph.captureFilter.QueryTo(persist));
    wchar_t name[kDeviceNameLength] = {};
    CAM_RETURN_IF_FAILED(FindCameraDevice(name));

    const ComPtr<IPropertyBag> bag = CreateMemoryPropertyBag();
    if (!bag) return E_OUTOFMEMORY;
    Bstr text;
    text.reset(SysAllocString(name));
    if (!text) return E_OUTOFMEMORY;
    Variant value;
    value.Adopt(std::move(text));
    CAM_RETURN_IF_FAILED(bag->Write(kDeviceNameProperty, &value.get()));
    return persist->Load(bag.get(), nullptr);
}

// The worker waits on the handle from now on. It is the graph's to close, and closed with the last interface
// of the graph; so the camera has a duplicate.
HRESULT CaptureGraph::DuplicateEventHandle(UniqueHandle& eventHandle) {
    ComPtr<IMediaEvent> events;
    CAM_RETURN_IF_FAILED(graph.filterGraph.QueryTo(events));
    OAEVENT graphsOwn = 0;
    CAM_RETURN_IF_FAILED(events->GetEventHandle(&graphsOwn));
    const HANDLE process = GetCurrentProcess();
    if (!DuplicateHandle(process, reinterpret_cast<HANDLE>(graphsOwn), process, eventHandle.put(), 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        return FailureFromLastError();
    }
    return S_OK;
}

}  // namespace cam
