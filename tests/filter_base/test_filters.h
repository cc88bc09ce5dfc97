// The surroundings of a filter under test: neighbours, graph, clock, allocator and samples that record what
// happens to them.
#pragma once

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "base/unique_resource.h"
#include "filter_base/filter.h"
#include "filter_base/input_pin.h"
#include "filter_base/output_pin.h"

namespace cam::test {

using namespace cam::filter_base;

// At the end of a test, as many objects must be alive as at its beginning.
class NoLeaks {
  public:
    NoLeaks() = default;
    ~NoLeaks();
    NoLeaks(const NoLeaks&) = delete;
    NoLeaks& operator=(const NoLeaks&) = delete;

  private:
    const LONG before = LiveObjects();
};

// A type with a VIDEOINFOHEADER; `formatSize` cuts or extends the format block.
MediaType VideoType(const GUID& subtype, LONG width, LONG height, WORD bits, ULONG formatSize = 88);

// Creates an object whose count is 0 and holds it.
template <typename Object, typename... Arguments>
class Held {
  public:
    explicit Held(Arguments... arguments) : object(new Object(arguments...)), hold(object->Inner()) {}
    Object* operator->() const { return object; }
    Object& operator*() const { return *object; }
    Object* get() const { return object; }

  private:
    Object* object;
    ComPtr<IUnknown> hold;
};

// The count that an interface reports.
ULONG CountOf(IUnknown* object);

// Has nothing of its own but its identity and what an inner object offers. Its count is the test's to look
// at.
class Outer final : public IUnknown {
  public:
    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        if (id != __uuidof(IUnknown)) return inner->QueryInterface(id, out);
        AddRef();
        *out = static_cast<IUnknown*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count; }
    ULONG STDMETHODCALLTYPE Release() override { return --count; }

    ComPtr<IUnknown> inner;
    ULONG count = 1;
};

// ---- Neighbours -------------------------------------------------------------------------------------------

class TestSource;

class TestSourcePin final : public OutputPin {
  public:
    explicit TestSourcePin(TestSource& source);

    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, MediaType& type) override;
    LONG MediaTypeVersion() override { return typeVersion; }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override { return ++qualityMessages, S_OK; }

    std::vector<MediaType> types;  // what it offers, and all it accepts
    LONG typeVersion = 0;
    long bufferCount = 2;
    HRESULT sizeResult = S_OK;  // of DecideBufferSize
    long bufferSize = 0x10000;
    LONG qualityMessages = 0;
};

class TestSource final : public Filter {
  public:
    explicit TestSource(IUnknown* outer = nullptr) : Filter(L"Source", outer, GUID_NULL) {}
    int PinCount() override { return pinCount; }
    Pin* PinAt(int) override { return &pin; }
    LONG PinVersion() override { return pinVersion; }

    // Delivers one buffer whose first byte is `mark`; what Receive answered, or why there was no buffer.
    HRESULT Push(BYTE mark, const std::function<void(IMediaSample&)>& prepare = nullptr);

    TestSourcePin pin{*this};
    int pinCount = 1;
    LONG pinVersion = 0;
};

class TestSink;

class TestSinkPin final : public InputPin {
  public:
    explicit TestSinkPin(TestSink& sink);

    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, MediaType& type) override;

    HRESULT STDMETHODCALLTYPE Disconnect() override { return ++disconnects, InputPin::Disconnect(); }
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return ++ends, S_OK; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return ++flushBegins, InputPin::BeginFlush(); }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return ++flushEnds, InputPin::EndFlush(); }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME, double) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* requirements) override;
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;
    HRESULT Active() override { return FAILED(activeResult) ? activeResult : InputPin::Active(); }
    void Inactive() override { ++inactives, InputPin::Inactive(); }

    HRESULT activeResult = S_OK;
    LONG inactives = 0;
    std::vector<MediaType> wishes;                      // what it offers
    std::function<bool(const AM_MEDIA_TYPE&)> accepts;  // empty: everything
    std::vector<MediaType> offered;                     // what it was asked to accept
    ALLOCATOR_PROPERTIES requirements = {};             // all 0: none
    const IMemAllocator* refused = nullptr;             // an allocator it does not take
    std::function<void(IMediaSample&)> onSample;
    std::vector<BYTE> marks;           // first bytes of the samples received
    std::vector<const BYTE*> buffers;  // and their places
    LONG disconnects = 0, ends = 0, flushBegins = 0, flushEnds = 0;
    REFERENCE_TIME segmentStart = -1;
};

class TestSink final : public Filter {
  public:
    explicit TestSink(IUnknown* outer = nullptr) : Filter(L"Sink", outer, GUID_NULL) {}
    int PinCount() override { return 1; }
    Pin* PinAt(int) override { return &pin; }

    TestSinkPin pin{*this};
};

// ---- Graph and clock --------------------------------------------------------------------------------------

struct GraphEvent {
    long code;
    LONG_PTR parameter1, parameter2;
};

// Takes events; of the graph's other operations only Reconnect does something: it counts.
class FakeGraph final : public Implements<ComObject, IFilterGraph, IMediaEventSink> {
  public:
    FakeGraph() : Implements(nullptr) {}

    // IFilterGraph
    HRESULT STDMETHODCALLTYPE AddFilter(IBaseFilter*, LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveFilter(IBaseFilter*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumFilters(IEnumFilters**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindFilterByName(LPCWSTR, IBaseFilter**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ConnectDirect(IPin*, IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reconnect(IPin*) override { return ++reconnects, S_OK; }
    HRESULT STDMETHODCALLTYPE Disconnect(IPin*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDefaultSyncSource() override { return E_NOTIMPL; }

    // IMediaEventSink
    HRESULT STDMETHODCALLTYPE Notify(long code, LONG_PTR parameter1, LONG_PTR parameter2) override;

    std::vector<GraphEvent> events;
    std::function<void(long code)> onEvent;
    LONG reconnects = 0;
};

// Stands still: an advised event is set by the test.
class FakeClock final : public Implements<ComObject, IReferenceClock> {
  public:
    FakeClock() : Implements(nullptr), advised(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

    // IReferenceClock
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* time) override { return *time = 0, S_OK; }
    HRESULT STDMETHODCALLTYPE AdviseTime(REFERENCE_TIME base, REFERENCE_TIME stream, HEVENT event,
                                         DWORD_PTR* cookie) override;
    HRESULT STDMETHODCALLTYPE AdvisePeriodic(REFERENCE_TIME, REFERENCE_TIME, HSEMAPHORE,
                                             DWORD_PTR*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD_PTR) override { return ++unadvised, S_OK; }

    void Strike() { SetEvent(advisedEvent); }

    UniqueHandle advised;  // set by every AdviseTime
    std::atomic<REFERENCE_TIME> dueTime{0};
    std::atomic<LONG> unadvised{0};

  private:
    HANDLE advisedEvent = nullptr;
};

// ---- Allocator and sample ---------------------------------------------------------------------------------

class FakeAllocator final : public Implements<ComObject, IMemAllocator> {
  public:
    FakeAllocator() : Implements(nullptr) {}

    // IMemAllocator
    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* request,
                                            ALLOCATOR_PROPERTIES* actual) override;
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* out) override { return *out = given, S_OK; }
    HRESULT STDMETHODCALLTYPE Commit() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Decommit() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample**, REFERENCE_TIME*, REFERENCE_TIME*, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample*) override { return E_NOTIMPL; }

    ALLOCATOR_PROPERTIES asked = {};
    ALLOCATOR_PROPERTIES given = {};
    HRESULT result = S_OK;
};

// A sample around a buffer of the test's.
class FakeSample final : public Implements<ComObject, IMediaSample> {
  public:
    FakeSample(BYTE* memory, long length) : Implements(nullptr), buffer(memory), size(length) {}

    // IMediaSample
    HRESULT STDMETHODCALLTYPE GetPointer(BYTE** out) override;
    long STDMETHODCALLTYPE GetSize() override { return size; }
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME*, REFERENCE_TIME*) override {
        return VFW_E_SAMPLE_TIME_NOT_SET;
    }
    HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME*, REFERENCE_TIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsSyncPoint() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetSyncPoint(BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsPreroll() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetPreroll(BOOL) override { return E_NOTIMPL; }
    long STDMETHODCALLTYPE GetActualDataLength() override { return dataLength; }
    HRESULT STDMETHODCALLTYPE SetActualDataLength(long) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE** type) override;
    HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsDiscontinuity() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetDiscontinuity(BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG*, LONGLONG*) override { return VFW_E_MEDIA_TIME_NOT_SET; }
    HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }

    BYTE* buffer;
    long size;
    long dataLength = 0;
    HRESULT pointerResult = S_OK;
    std::function<AM_MEDIA_TYPE*()> newType;  // told with this frame; empty: no change
};

}  // namespace cam::test
