#include "device_kit/test_graph.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

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
    if (SUCCEEDED(hr)) hr = Create(kClsidCaptureFilter, camera);
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

HRESULT Graph::SetStillFormat(int index) {
    ComPtr<IPin> grabberIn, grabberOut, end;
    HRESULT hr =
        builder->FindPin(stillGrabber.get(), PINDIR_INPUT, nullptr, nullptr, FALSE, 0, grabberIn.put());
    if (SUCCEEDED(hr))
        hr =
            builder->FindPin(stillGrabber.get(), PINDIR_OUTPUT, nullptr, nullptr, FALSE, 0, grabberOut.put());
    if (SUCCEEDED(hr))
        hr = builder->FindPin(stillEnd.get(), PINDIR_INPUT, nullptr, nullptr, FALSE, 0, end.put());
    if (FAILED(hr)) return hr;
    for (const ComPtr<IPin>* pin : {&stillPin, &grabberIn, &grabberOut, &end}) graph->Disconnect(pin->get());
    AM_MEDIA_TYPE* type = nullptr;
    VIDEO_STREAM_CONFIG_CAPS caps;
    hr = stillConfig->GetStreamCaps(index, &type, reinterpret_cast<BYTE*>(&caps));
    if (hr != S_OK) return FAILED(hr) ? hr : E_INVALIDARG;
    hr = stillConfig->SetFormat(type);
    if (SUCCEEDED(hr)) hr = graph->ConnectDirect(stillPin.get(), grabberIn.get(), type);
    if (SUCCEEDED(hr)) hr = graph->ConnectDirect(grabberOut.get(), end.get(), nullptr);
    cam::filter_base::DeleteMediaType(type);
    return hr;
}

Pixel PixelAt(const std::vector<BYTE>& frame, const Format& format, int x, int y) {
    const int row = format.topDown ? y : format.height - 1 - y;
    const BYTE* bytes = frame.data() + row * format.Stride();
    if (format.layout == Layout::Yuy2) {
        const BYTE* pair = bytes + x / 2 * 4;
        const int luma = 298 * (pair[x % 2 * 2] - 16) + 128, u = pair[1] - 128, v = pair[3] - 128;
        return Rgb(Clamp255((luma + 409 * v) >> 8), Clamp255((luma - 100 * u - 208 * v) >> 8),
                   Clamp255((luma + 516 * u) >> 8));
    }
    const int word = bytes[2 * x] | bytes[2 * x + 1] << 8;
    const int blue = (word & 31) * 255 / 31;
    if (format.layout == Layout::Rgb565)
        return Rgb((word >> 11) * 255 / 31, (word >> 5 & 63) * 255 / 63, blue);
    return Rgb((word >> 10 & 31) * 255 / 31, (word >> 5 & 31) * 255 / 31, blue);
}

bool IsNear(Pixel left, Pixel right, int tolerance) {
    return std::abs(Red(left) - Red(right)) <= tolerance &&
           std::abs(Green(left) - Green(right)) <= tolerance &&
           std::abs(Blue(left) - Blue(right)) <= tolerance;
}

}  // namespace kit::test
