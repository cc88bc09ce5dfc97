#include "platform/desktop/camera_driver/webcam_graph.h"

#include <atomic>
#include <memory>
#include <new>

#include "base/hresult.h"
#include "base/unique_resource.h"
#include "filter_base/category_pin.h"
#include "platform/platform.h"

// The system's headers declare this without the identifier that __uuidof needs.
__CRT_UUID_DECL(IMediaEvent, 0x56A868B6, 0x0AD4, 0x11CE, 0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70)

namespace cam::driver {
namespace {

// What stopping a webcam may take: some wait for the frame that is on its way.
constexpr DWORD kStopMs = 2000;

// Of a filter that lists pins without an end, the first so many.
constexpr int kMaxPins = 100;

bool HasCategory(IPin& pin, const GUID& wanted) {
    PIN_DIRECTION direction;
    ComPtr<filter_base::KsPropertySet> properties;
    GUID category = GUID_NULL;
    ULONG size = 0;
    return SUCCEEDED(pin.QueryDirection(&direction)) && direction == PINDIR_OUTPUT &&
           SUCCEEDED(pin.QueryInterface(__uuidof(filter_base::KsPropertySet), properties.putVoid())) &&
           SUCCEEDED(properties->Get(AMPROPSETID_Pin, AMPROPERTY_PIN_CATEGORY, nullptr, 0, &category,
                                     sizeof category, &size)) &&
           category == wanted;
}

// The first output pin of a category.
HRESULT FindPin(IBaseFilter& filter, const GUID& category, ComPtr<IPin>& out) {
    ComPtr<IEnumPins> pins;
    CAM_RETURN_IF_FAILED(filter.EnumPins(pins.put()));
    ComPtr<IPin> pin;
    for (int left = kMaxPins; pins && left > 0 && pins->Next(1, pin.put(), nullptr) == S_OK; --left) {
        if (!pin || !HasCategory(*pin.get(), category)) continue;
        out = pin;
        return S_OK;
    }
    return VFW_E_NOT_FOUND;
}

// A graph reports that a filter could not pause, and keeps to itself that one could not run.
HRESULT RunAll(IMediaControl& control, IBaseFilter& source) {
    CAM_RETURN_IF_FAILED(control.Pause());
    CAM_RETURN_IF_FAILED(control.Run());
    FILTER_STATE state = State_Stopped;
    const HRESULT result = source.GetState(0, &state);
    if (SUCCEEDED(result) && state == State_Running) return S_OK;
    CAM_RETURN_IF_FAILED(source.Run(0));
    return S_OK;
}

}  // namespace

// ---- A branch -------------------------------------------------------------------------------------------

HRESULT WebcamGraph::Branch::Build(IGraphBuilder& graph, IPin& pin) {
    frameSink = new (std::nothrow) FrameSink;
    if (!frameSink) return E_OUTOFMEMORY;
    parts.sink = ComPtr<IBaseFilter>(frameSink);
    parts.sinkPin = ComPtr<IPin>(frameSink->PinAt(0));
    parts.sourcePin = ComPtr<IPin>(&pin);
    parts.sourcePin.QueryTo(parts.config);
    return graph.AddFilter(parts.sink.get(), L"Frame sink");
}

void WebcamGraph::Branch::Forget() {
    parts = {};
    frameSink = nullptr;
}

HRESULT WebcamGraph::Branch::ListFormats() {
    CAM_RETURN_IF_FAILED(parts.config ? ReadFormats(*parts.config.get(), formats)
                                      : ReadFormats(*parts.sourcePin.get(), formats));
    return formats.empty() ? VFW_E_INVALIDMEDIATYPE : S_OK;
}

HRESULT WebcamGraph::Branch::Disconnect(IGraphBuilder& graph) {
    CAM_RETURN_IF_FAILED(graph.Disconnect(parts.sourcePin.get()));
    return graph.Disconnect(parts.sinkPin.get());
}

// The pin may list nothing but its current format: it is given the type as it was handed out.
HRESULT WebcamGraph::Branch::Connect(IGraphBuilder& graph, const SourceFormat& format) {
    filter_base::MediaType current;
    // A webcam that has come back may have no such pin any more.
    if (!parts.sinkPin) return VFW_E_NOT_FOUND;
    if (parts.sinkPin->ConnectionMediaType(&current) == S_OK) {
        if (filter_base::SameMediaType(current, format.type)) return S_OK;
        CAM_RETURN_IF_FAILED(Disconnect(graph));
    }
    filter_base::MediaType type;
    CAM_RETURN_IF_FAILED(type.CopyFrom(format.type));
    if (parts.config) CAM_RETURN_IF_FAILED(parts.config->SetFormat(&type));
    return graph.ConnectDirect(parts.sourcePin.get(), parts.sinkPin.get(), &type);
}

void WebcamGraph::Branch::SendTo(FrameReceiver* receiver) {
    if (frameSink) frameSink->SendTo(receiver);
}

// ---- The graph ------------------------------------------------------------------------------------------

HRESULT WebcamGraph::Open(const std::wstring& identity) try {
    Close();
    const auto webcam = FindWebcam(identity);
    if (!webcam) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
    HRESULT result = Build(*webcam);
    if (SUCCEEDED(result)) result = video.ListFormats();
    if (SUCCEEDED(result)) result = BuildStills();
    if (FAILED(result)) Close();
    return result;
} catch (const std::bad_alloc&) {
    Close();
    return E_OUTOFMEMORY;
}

HRESULT WebcamGraph::Build(const Webcam& webcam) {
    CAM_RETURN_IF_FAILED(CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER,
                                          __uuidof(IGraphBuilder), parts.graph.putVoid()));
    CAM_RETURN_IF_FAILED(parts.graph.QueryTo(parts.control));
    CAM_RETURN_IF_FAILED(
        webcam.moniker->BindToObject(nullptr, nullptr, __uuidof(IBaseFilter), parts.source.putVoid()));
    *source.Locked() = parts.source;
    CAM_RETURN_IF_FAILED(parts.graph->AddFilter(parts.source.get(), L"Webcam"));
    ComPtr<IPin> pin;
    CAM_RETURN_IF_FAILED(FindPin(*parts.source.get(), PIN_CATEGORY_CAPTURE, pin));
    CAM_RETURN_IF_FAILED(video.Build(*parts.graph.get(), *pin.get()));

    // Frames go on as they come.
    ComPtr<IMediaFilter> timing;
    CAM_RETURN_IF_FAILED(parts.graph.QueryTo(timing));
    CAM_RETURN_IF_FAILED(timing->SetSyncSource(nullptr));
    ComPtr<IMediaEvent> events;
    OAEVENT handle = 0;
    CAM_RETURN_IF_FAILED(parts.graph.QueryTo(events));
    CAM_RETURN_IF_FAILED(events->GetEventHandle(&handle));
    eventHandle = reinterpret_cast<HANDLE>(handle);
    return S_OK;
}

// A still pin is of use if it can be triggered, in a format that is understood.
HRESULT WebcamGraph::BuildStills() {
    ComPtr<IPin> pin;
    ComPtr<IAMVideoControl> control;
    LONG flags = 0;
    if (FAILED(FindPin(*parts.source.get(), PIN_CATEGORY_STILL, pin)) ||
        FAILED(parts.source.QueryTo(control)) || FAILED(control->GetCaps(pin.get(), &flags)) ||
        !(flags & VideoControlFlag_Trigger)) {
        return S_OK;
    }
    CAM_RETURN_IF_FAILED(still.Build(*parts.graph.get(), *pin.get()));
    if (FAILED(still.ListFormats())) still.formats.clear();
    return S_OK;
}

HRESULT WebcamGraph::Start(const SourceFormat& format, FrameReceiver& receiver,
                           const SourceFormat* stillFormat, FrameReceiver& stillReceiver) {
    if (!IsOpen()) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
    // The still pin follows the video's, which some webcams want connected first.
    if (still.frameSink && !stillFormat) still.Disconnect(*parts.graph.get());
    CAM_RETURN_IF_FAILED(video.Connect(*parts.graph.get(), format));
    if (stillFormat) CAM_RETURN_IF_FAILED(still.Connect(*parts.graph.get(), *stillFormat));
    TakeEvents();
    video.SendTo(&receiver);
    still.SendTo(&stillReceiver);
    const HRESULT result = RunAll(*parts.control.get(), *parts.source.get());
    if (FAILED(result)) Stop();
    return result;
}

HRESULT WebcamGraph::TriggerStill() {
    ComPtr<IAMVideoControl> control;
    if (!IsOpen()) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
    CAM_RETURN_IF_FAILED(parts.source.QueryTo(control));
    return control->SetMode(parts.still.sourcePin.get(), VideoControlFlag_Trigger);
}

bool WebcamGraph::TakeEvents() {
    ComPtr<IMediaEvent> events;
    if (!IsOpen() || FAILED(parts.graph.QueryTo(events))) return false;
    bool ended = false;
    long code = 0;
    LONG_PTR first = 0, second = 0;
    while (SUCCEEDED(events->GetEvent(&code, &first, &second, 0))) {
        const bool isBack = code == EC_DEVICE_LOST && second != 0;
        ended = ended || (code == EC_DEVICE_LOST && !isBack) || code == EC_ERRORABORT || code == EC_COMPLETE;
        events->FreeEventParams(code, first, second);
    }
    return ended;
}

// ---- Stopping -------------------------------------------------------------------------------------------

DWORD WINAPI WebcamGraph::StopThread(void* argument) {
    const std::unique_ptr<Parts> parts(static_cast<Parts*>(argument));
    const bool hasCom = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    parts->control->Stop();
    *parts = {};
    if (hasCom) CoUninitialize();
    return 0;
}

// False: the webcam hangs. The thread keeps what it needs and frees it should it ever come back.
bool WebcamGraph::StopInTime(Parts last) {
    std::unique_ptr<Parts> task(new (std::nothrow) Parts(std::move(last)));
    if (!task) return false;
    const UniqueHandle thread(platform::CreateLibraryThread(StopThread, task.get(), nullptr));
    if (!thread) return false;
    static_cast<void>(task.release());
    return WaitForSingleObject(thread.get(), kStopMs) == WAIT_OBJECT_0;
}

void WebcamGraph::Forget() {
    parts = {};
    video.Forget();
    still.Forget();
    eventHandle = nullptr;
    *source.Locked() = nullptr;
}

void WebcamGraph::SendToNobody() {
    video.SendTo(nullptr);
    still.SendTo(nullptr);
}

void WebcamGraph::Stop() {
    if (!IsOpen()) return;
    SendToNobody();
    if (!StopInTime(parts)) Forget();
}

// The webcam's filter is let go of where it may take its time.
void WebcamGraph::Close() {
    SendToNobody();
    video.formats.clear();
    still.formats.clear();
    Parts last = parts;
    Forget();
    if (last.control) StopInTime(std::move(last));
}

}  // namespace cam::driver
