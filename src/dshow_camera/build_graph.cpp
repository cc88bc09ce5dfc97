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

namespace cam {
namespace {

constexpr wchar_t kDeviceNameProperty[] = L"VCapName";

template <typename Interface>
HRESULT Create(const CLSID& classId, DWORD context, ComPtr<Interface>& out) {
    return CoCreateInstance(classId, nullptr, context, __uuidof(Interface), out.putVoid());
}

// The first pin of the filter, whatever the enumerator says on the way.
HRESULT FirstPin(IBaseFilter& filter, ComPtr<IPin>& out) {
    ComPtr<IEnumPins> pins;
    CAM_RETURN_IF_FAILED(filter.EnumPins(pins.put()));
    pins->Reset();
    pins->Next(1, out.put(), nullptr);
    return S_OK;
}

}  // namespace

HRESULT CaptureGraph::Build(UniqueHandle& eventHandle) {
    CheckThread(kWorkerThread);
    if (state_ >= CameraState::Stopped) return S_OK;
    const HRESULT result = BuildSteps(eventHandle);
    if (FAILED(result)) Notify(Notification::Failed, L"Building the graph failed");
    return result;
}

// What has been made when a step fails stays, for shutdown or the destructor.
HRESULT CaptureGraph::BuildSteps(UniqueHandle& eventHandle) {
    CAM_RETURN_IF_FAILED(Create(CLSID_CaptureGraphBuilder, CLSCTX_ALL, graph_.builder));
    CAM_RETURN_IF_FAILED(Create(CLSID_FilterGraph, CLSCTX_ALL, graph_.filterGraph));
    CAM_RETURN_IF_FAILED(graph_.builder->SetFiltergraph(graph_.filterGraph.get()));
    CAM_RETURN_IF_FAILED(graph_.filterGraph.QueryTo(graph_.mediaControl));

    CAM_RETURN_IF_FAILED(Create(kClsidVideoCapture, CLSCTX_ALL, graph_.captureFilter));
    CAM_RETURN_IF_FAILED(LoadCaptureDriver());
    CAM_RETURN_IF_FAILED(
        graph_.filterGraph->AddFilter(graph_.captureFilter.get(), L"Video Capture Filter Source"));

    CAM_RETURN_IF_FAILED(Create(CLSID_VideoRenderer, CLSCTX_INPROC_SERVER, graph_.videoRenderer));
    CAM_RETURN_IF_FAILED(graph_.filterGraph->AddFilter(graph_.videoRenderer.get(), L"Video Renderer"));
    CAM_RETURN_IF_FAILED(Create(kClsidSampleGrabber, CLSCTX_INPROC, graph_.grabber));
    CAM_RETURN_IF_FAILED(graph_.filterGraph->AddFilter(graph_.grabber.get(), L"SampleGrabber"));
    CAM_RETURN_IF_FAILED(graph_.grabber.QueryTo(graph_.grabberControl));
    CAM_RETURN_IF_FAILED(graph_.grabberControl->SetCallback(PreviewCallback()));
    CAM_RETURN_IF_FAILED(graph_.builder->RenderStream(&PIN_CATEGORY_PREVIEW, &MEDIATYPE_Video,
                                                      graph_.captureFilter.get(), graph_.grabber.get(),
                                                      graph_.videoRenderer.get()));
    ComPtr<IMediaEventSink> eventSink;  // asked for, not used
    graph_.filterGraph.QueryTo(eventSink);

    CAM_RETURN_IF_FAILED(Create(kClsidStillImageSink, CLSCTX_INPROC_SERVER, graph_.sink));
    CAM_RETURN_IF_FAILED(graph_.filterGraph->AddFilter(graph_.sink.get(), L"Still image sink"));
    CAM_RETURN_IF_FAILED(graph_.builder->RenderStream(
        &PIN_CATEGORY_STILL, &MEDIATYPE_Video, graph_.captureFilter.get(), nullptr, graph_.sink.get()));
    CAM_RETURN_IF_FAILED(graph_.sink.QueryTo(graph_.sinkControl));
    CAM_RETURN_IF_FAILED(graph_.sinkControl->SetCallback(StillImageCallback()));

    ComPtr<IUnknown> capture;  // asked for, not used
    graph_.captureFilter.QueryTo(capture);
    CAM_RETURN_IF_FAILED(graph_.builder->FindPin(graph_.captureFilter.get(), PINDIR_OUTPUT,
                                                 &PIN_CATEGORY_STILL, &MEDIATYPE_Video, FALSE, 0,
                                                 graph_.stillPin.put()));
    CAM_RETURN_IF_FAILED(FirstPin(*graph_.sink.get(), graph_.sinkPin));
    CAM_RETURN_IF_FAILED(graph_.captureFilter.QueryTo(graph_.videoControl));
    CAM_RETURN_IF_FAILED(DuplicateEventHandle(eventHandle));

    state_ = CameraState::Stopped;
    Notify(Notification::GraphBuilt, L"Framegraph created");
    return S_OK;
}

// Tells the capture filter which driver to open.
HRESULT CaptureGraph::LoadCaptureDriver() {
    ComPtr<IPersistPropertyBag> persist;
    CAM_RETURN_IF_FAILED(graph_.captureFilter.QueryTo(persist));
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
    CAM_RETURN_IF_FAILED(graph_.filterGraph.QueryTo(events));
    OAEVENT graphsOwn = 0;
    CAM_RETURN_IF_FAILED(events->GetEventHandle(&graphsOwn));
    const HANDLE process = GetCurrentProcess();
    if (!DuplicateHandle(process, reinterpret_cast<HANDLE>(graphsOwn), process, eventHandle.put(), 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        return HresultFromLastError();
    }
    return S_OK;
}

}  // namespace cam
