#include "device_kit/test_graph.h"

#include <chrono>

namespace kit::test {
namespace {

constexpr CLSID kClsidNullRenderer = {
    0xC1F400A4, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};
constexpr CLSID kClsidSystemGrabber = {
    0xC1F400A0, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

}  // namespace

bool Frames::WaitFor(std::size_t count) {
    std::unique_lock guard(lock_);
    return arrived_.wait_for(guard, std::chrono::seconds(5), [&] { return count_ >= count; });
}

std::size_t Frames::Count() {
    const std::lock_guard guard(lock_);
    return count_;
}

Frames::Frame Frames::Last() {
    const std::lock_guard guard(lock_);
    return last_;
}

HRESULT Frames::QueryInterface(REFIID iid, void** out) {
    *out = iid == __uuidof(IUnknown) || iid == IID_ISampleGrabberCB ? this : nullptr;
    return *out ? S_OK : E_NOINTERFACE;
}

HRESULT Frames::SampleCB(double, IMediaSample* sample) {
    BYTE* bytes = nullptr;
    sample->GetPointer(&bytes);
    REFERENCE_TIME start, stop;
    const std::lock_guard guard(lock_);
    last_.bytes.assign(bytes, bytes + sample->GetActualDataLength());
    last_.stamped = SUCCEEDED(sample->GetTime(&start, &stop));
    ++count_;
    arrived_.notify_all();
    return S_OK;
}

HRESULT NameBag::QueryInterface(REFIID, void** out) {
    *out = nullptr;
    return E_NOINTERFACE;
}

HRESULT NameBag::Read(LPCOLESTR name, VARIANT* value, IErrorLog*) {
    if (std::wstring(name) != L"VCapName" || !name_) return E_INVALIDARG;
    V_VT(value) = VT_BSTR;
    V_BSTR(value) = SysAllocString(name_);
    return S_OK;
}

HRESULT NameBag::Write(LPCOLESTR, VARIANT* value) {
    written = V_BSTR(value);
    return S_OK;
}

HRESULT Create(REFCLSID classId, ComPtr<IBaseFilter>& filter) {
    return CoCreateInstance(classId, nullptr, CLSCTX_ALL, IID_IBaseFilter, filter.putVoid());
}

HRESULT LoadDevice(IBaseFilter* camera, const wchar_t* name) {
    ComPtr<IPersistPropertyBag> persist;
    HRESULT hr = camera->QueryInterface(__uuidof(IPersistPropertyBag), persist.putVoid());
    if (FAILED(hr)) return hr;
    NameBag bag(name);
    return persist->Load(&bag, nullptr);
}

Graph::~Graph() {
    if (control) control->Stop();
}

HRESULT Graph::AddGrabber(ComPtr<IBaseFilter>& filter, Frames& frames, const wchar_t* name) {
    HRESULT hr = Create(kClsidSystemGrabber, filter);
    if (FAILED(hr)) return hr;
    ComPtr<ISampleGrabber> grabber;
    hr = filter->QueryInterface(IID_ISampleGrabber, grabber.putVoid());
    if (SUCCEEDED(hr)) hr = grabber->SetCallback(&frames, 0);
    return SUCCEEDED(hr) ? graph->AddFilter(filter.get(), name) : hr;
}

HRESULT Graph::Build(const wchar_t* device, bool videoRenderer) {
    const auto create = [](REFCLSID classId, REFIID iid, void** out) {
        return CoCreateInstance(classId, nullptr, CLSCTX_ALL, iid, out);
    };
    HRESULT hr = create(CLSID_CaptureGraphBuilder2, IID_ICaptureGraphBuilder2, builder.putVoid());
    if (SUCCEEDED(hr)) hr = create(CLSID_FilterGraph, IID_IGraphBuilder, graph.putVoid());
    if (SUCCEEDED(hr)) hr = builder->SetFiltergraph(graph.get());
    if (SUCCEEDED(hr)) hr = graph.QueryTo(control);
    if (SUCCEEDED(hr) && !camera) hr = Create(kClsidCaptureFilter, camera);
    if (SUCCEEDED(hr)) hr = LoadDevice(camera.get(), device);
    if (SUCCEEDED(hr)) hr = graph->AddFilter(camera.get(), L"Video Capture Filter Source");
    if (SUCCEEDED(hr)) hr = Create(videoRenderer ? CLSID_VideoRenderer : kClsidNullRenderer, renderer);
    if (SUCCEEDED(hr)) hr = graph->AddFilter(renderer.get(), L"Video Renderer");
    if (SUCCEEDED(hr)) hr = AddGrabber(previewGrabber, previewFrames, L"SampleGrabber");
    if (SUCCEEDED(hr))
        hr = builder->RenderStream(&PIN_CATEGORY_PREVIEW, &MEDIATYPE_Video, camera.get(),
                                   previewGrabber.get(), renderer.get());
    if (SUCCEEDED(hr)) hr = Create(kClsidNullRenderer, stillEnd);
    if (SUCCEEDED(hr)) hr = graph->AddFilter(stillEnd.get(), L"Still image sink");
    if (SUCCEEDED(hr)) hr = AddGrabber(stillGrabber, stillFrames, L"Still grabber");
    if (SUCCEEDED(hr))
        hr = builder->RenderStream(&PIN_CATEGORY_STILL, &MEDIATYPE_Video, camera.get(), stillGrabber.get(),
                                   stillEnd.get());
    if (SUCCEEDED(hr))
        hr = builder->FindPin(camera.get(), PINDIR_OUTPUT, &PIN_CATEGORY_STILL, &MEDIATYPE_Video, FALSE, 0,
                              stillPin.put());
    if (SUCCEEDED(hr)) hr = camera.QueryTo(videoControl);
    if (SUCCEEDED(hr))
        hr = builder->FindInterface(&PIN_CATEGORY_STILL, &MEDIATYPE_Video, camera.get(), IID_IAMStreamConfig,
                                    stillConfig.putVoid());
    return hr;
}

HRESULT Graph::Run() {
    const HRESULT hr = control->Run();
    if (FAILED(hr)) return hr;
    OAFilterState state = State_Stopped;
    const HRESULT reached = control->GetState(2000, &state);
    return SUCCEEDED(reached) && state != State_Running ? E_FAIL : reached;
}

HRESULT Graph::Stop() {
    return control->Stop();
}

HRESULT Graph::TriggerStill() {
    constexpr LONG kTrigger = 8;
    return videoControl->SetMode(stillPin.get(), kTrigger);
}

}  // namespace kit::test
