#include "filter_base/test_filters.h"

#include <doctest/doctest.h>

#include <cstring>

namespace cam::test {

namespace {
// The tests' main thread lives in the multithreaded apartment, as the library does.
struct Apartment {
    Apartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~Apartment() { CoUninitialize(); }
} apartment;
}  // namespace

NoLeaks::~NoLeaks() {
    CHECK_MESSAGE(LiveObjects() == before, "objects were left behind, or released too often");
}

MediaType VideoType(const GUID& subtype, LONG width, LONG height, WORD bits, ULONG formatSize) {
    MediaType type;
    type.majortype = MEDIATYPE_Video;
    type.subtype = subtype;
    type.formattype = FORMAT_VideoInfo;
    type.bFixedSizeSamples = TRUE;
    VIDEOINFOHEADER info = {};
    info.AvgTimePerFrame = 333333;
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = bits;
    type.lSampleSize = static_cast<ULONG>((width * (bits / 8) + 3) / 4 * 4 * (height < 0 ? -height : height));
    BYTE* format = type.AllocateFormat(formatSize);
    if (format) std::memcpy(format, &info, formatSize < sizeof info ? formatSize : sizeof info);
    return type;
}

ULONG CountOf(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

// ---- TestSource -------------------------------------------------------------------------------------------

TestSourcePin::TestSourcePin(TestSource& source) : OutputPin(source, L"Out") {}

HRESULT TestSourcePin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    for (const MediaType& known : types) {
        if (SameMediaType(known, type)) return S_OK;
    }
    return S_FALSE;
}

HRESULT TestSourcePin::GetMediaType(int position, MediaType& type) {
    if (position >= static_cast<int>(types.size())) return VFW_S_NO_MORE_ITEMS;
    return type.CopyFrom(types[static_cast<size_t>(position)]);
}

HRESULT TestSourcePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    request->cBuffers = bufferCount;
    request->cbBuffer = bufferSize;
    ALLOCATOR_PROPERTIES actual = {};
    const HRESULT result = allocator->SetProperties(request, &actual);
    return SUCCEEDED(result) ? sizeResult : result;
}

HRESULT TestSource::Push(BYTE mark, const std::function<void(IMediaSample&)>& prepare) {
    ComPtr<IMediaSample> sample;
    HRESULT result = pin.GetDeliveryBuffer(sample.put());
    if (FAILED(result)) return result;
    BYTE* buffer = nullptr;
    result = sample->GetPointer(&buffer);
    if (FAILED(result)) return result;
    buffer[0] = mark;
    sample->SetTime(nullptr, nullptr);
    if (prepare) prepare(*sample.get());
    return pin.Deliver(sample.get());
}

// ---- TestSink ---------------------------------------------------------------------------------------------

TestSinkPin::TestSinkPin(TestSink& sink) : InputPin(sink, L"In") {}

HRESULT TestSinkPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    offered.emplace_back();
    offered.back().CopyFrom(type);
    return !accepts || accepts(type) ? S_OK : S_FALSE;
}

HRESULT TestSinkPin::GetMediaType(int position, MediaType& type) {
    if (position >= static_cast<int>(wishes.size())) return VFW_S_NO_MORE_ITEMS;
    return type.CopyFrom(wishes[static_cast<size_t>(position)]);
}

HRESULT STDMETHODCALLTYPE TestSinkPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME, double) {
    segmentStart = start;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestSinkPin::NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) {
    return allocator == refused ? E_FAIL : InputPin::NotifyAllocator(allocator, readOnly);
}

HRESULT STDMETHODCALLTYPE TestSinkPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* out) {
    *out = requirements;
    const bool none = out->cBuffers == 0 && out->cbBuffer == 0 && out->cbAlign == 0 && out->cbPrefix == 0;
    return none ? E_NOTIMPL : S_OK;
}

HRESULT STDMETHODCALLTYPE TestSinkPin::Receive(IMediaSample* sample) {
    const HRESULT result = CheckSample(*sample);
    if (result != S_OK) return result;
    BYTE* buffer = nullptr;
    sample->GetPointer(&buffer);
    marks.push_back(buffer[0]);
    buffers.push_back(buffer);
    if (onSample) onSample(*sample);
    return S_OK;
}

// ---- Graph, clock, allocator, sample ----------------------------------------------------------------------

HRESULT STDMETHODCALLTYPE FakeGraph::Notify(long code, LONG_PTR parameter1, LONG_PTR parameter2) {
    events.push_back({code, parameter1, parameter2});
    if (onEvent) onEvent(code);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FakeClock::AdviseTime(REFERENCE_TIME base, REFERENCE_TIME stream, HEVENT event,
                                                DWORD_PTR* cookie) {
    dueTime = base + stream;
    advisedEvent = reinterpret_cast<HANDLE>(event);
    *cookie = 1;
    SetEvent(advised.get());
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FakeAllocator::SetProperties(ALLOCATOR_PROPERTIES* request,
                                                       ALLOCATOR_PROPERTIES* actual) {
    asked = *request;
    *actual = given;
    return result;
}

HRESULT STDMETHODCALLTYPE FakeSample::GetMediaType(AM_MEDIA_TYPE** type) {
    *type = newType ? newType() : nullptr;
    return newType ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE FakeSample::GetPointer(BYTE** out) {
    *out = buffer;
    return pointerResult;
}

}  // namespace cam::test
