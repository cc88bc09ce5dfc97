#include <doctest/doctest.h>

#include <string>
#include <thread>

#include "filter_base/test_filters.h"
#include "filter_base/transform_in_place.h"

using namespace cam;
using namespace cam::test;

namespace {
// Takes any video and adds 100 to the first byte.
class AddHundred final : public TransformInPlaceFilter {
  public:
    AddHundred() : TransformInPlaceFilter(L"AddHundred", nullptr, GUID_NULL) {}

    HRESULT CheckInputType(const AM_MEDIA_TYPE& type) override {
        return IsEqualGUID(type.majortype, MEDIATYPE_Video) ? S_OK : E_FAIL;
    }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override {
        ++buffersDecided;
        request->cBuffers = 1;
        request->cbBuffer = bufferSize;
        ALLOCATOR_PROPERTIES actual = {};
        return allocator->SetProperties(request, &actual);
    }
    HRESULT GetMediaType(int position, MediaType& type) override {
        return position == 0 ? type.CopyFrom(Input().Type()) : VFW_S_NO_MORE_ITEMS;
    }
    HRESULT SetMediaType(PIN_DIRECTION direction, const AM_MEDIA_TYPE&) override {
        directions.push_back(direction);
        return S_OK;
    }
    HRESULT Transform(IMediaSample* sample) override {
        if (onTransform) onTransform();
        BYTE* buffer = nullptr;
        sample->GetPointer(&buffer);
        buffer[0] = static_cast<BYTE>(buffer[0] + 100);
        return transformResult;
    }
    InputPin& In() { return Input(); }
    OutputPin& Out() { return Output(); }

    LONG buffersDecided = 0;
    long bufferSize = 0x10000;
    std::vector<PIN_DIRECTION> directions;
    std::function<void()> onTransform;
    HRESULT transformResult = S_OK;
};

struct Chain {
    Held<TestSource> source;
    Held<AddHundred> filter;
    Held<TestSink> sink;

    Chain() {
        source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16));
        source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 640, 480, 16));
    }
    ~Chain() {
        Stop();
        for (IPin* pin : {static_cast<IPin*>(&source->pin), static_cast<IPin*>(&filter->In()),
                          static_cast<IPin*>(&filter->Out()), static_cast<IPin*>(&sink->pin)}) {
            pin->Disconnect();
        }
    }
    HRESULT Connect() {
        const HRESULT result = source->pin.Connect(&filter->In(), nullptr);
        return SUCCEEDED(result) ? filter->Out().Connect(&sink->pin, nullptr) : result;
    }
    void Run() {
        for (Filter* each : {static_cast<Filter*>(sink.get()), static_cast<Filter*>(filter.get()),
                             static_cast<Filter*>(source.get())}) {
            REQUIRE(each->Run(0) == S_OK);
        }
    }
    void Stop() {
        sink->Stop();
        filter->Stop();
        source->Stop();
    }
};

// The sender's allocator is one that the receiver does not take.
struct CopyingChain : Chain {
    Held<FakeAllocator> other;

    explicit CopyingChain(long bufferSize) {
        filter->bufferSize = bufferSize;
        REQUIRE(Connect() == S_OK);
        other->given = {2, 0x10000, 1, 0};
        sink->pin.refused = other.get();
        REQUIRE(filter->In().NotifyAllocator(other.get(), FALSE) == S_OK);
    }
};
}  // namespace

TEST_CASE("the output offers the input's type once the input is connected") {
    const NoLeaks noLeaks;
    Chain chain;
    CHECK(chain.filter->Out().Connect(&chain.sink->pin, nullptr) == VFW_E_NOT_CONNECTED);
    REQUIRE(chain.Connect() == S_OK);
    CHECK(SameMediaType(chain.sink->pin.Type(), chain.source->pin.types[0]));
    CHECK(chain.filter->directions == std::vector<PIN_DIRECTION>{PINDIR_INPUT, PINDIR_OUTPUT});

    ComPtr<IPin> pin;
    ULONG count = 0;
    CHECK(chain.filter->In().QueryInternalConnections(nullptr, &count) == S_FALSE);
    CHECK(count == 1);
    CHECK(chain.filter->In().QueryInternalConnections(pin.put(), &count) == S_OK);
    CHECK(pin.get() == &chain.filter->Out());
    CHECK(chain.filter->Out().QueryInternalConnections(pin.put(), &count) == S_OK);
    CHECK(pin.get() == &chain.filter->In());
    CHECK(chain.filter->Out().QueryInternalConnections(nullptr, &count) == E_POINTER);
}

TEST_CASE("the pins answer for their neighbours") {
    const NoLeaks noLeaks;
    Chain chain;
    ComPtr<IEnumMediaTypes> types;
    REQUIRE(chain.source->pin.Connect(&chain.filter->In(), nullptr) == S_OK);
    CHECK(chain.filter->In().EnumMediaTypes(types.put()) == VFW_E_NOT_CONNECTED);
    // What may go out is what the sender could send.
    CHECK(chain.filter->Out().QueryAccept(&chain.source->pin.types[1]) == S_OK);
    const MediaType other = VideoType(MEDIASUBTYPE_RGB565, 320, 240, 16);
    CHECK(chain.filter->Out().QueryAccept(&other) == S_FALSE);
    REQUIRE(chain.filter->Out().Connect(&chain.sink->pin, nullptr) == S_OK);
    CHECK(chain.filter->In().EnumMediaTypes(types.put()) == S_OK);

    PIN_INFO info = {};
    CHECK(chain.filter->In().QueryPinInfo(&info) == S_OK);
    info.pFilter->Release();
    CHECK(std::wstring(info.achName) == L"Input");
    LPWSTR id = nullptr;
    CHECK(chain.filter->Out().QueryId(&id) == S_OK);
    CHECK(std::wstring(id) == L"Out");
    CoTaskMemFree(id);

    // Whoever sends may take buffers as soon as the filter is paused.
    ComPtr<IMediaSample> sample;
    IMemAllocator* const allocator = chain.filter->In().Allocator();
    CHECK(allocator->GetBuffer(sample.put(), nullptr, nullptr, 0) == VFW_E_NOT_COMMITTED);
    CHECK(chain.filter->Pause() == S_OK);
    CHECK(allocator->GetBuffer(sample.put(), nullptr, nullptr, 0) == S_OK);
    sample.reset();
}

TEST_CASE("samples pass in their own buffer, or are copied when the allocator cannot be shared") {
    const NoLeaks noLeaks;
    Chain chain;
    struct Row {
        std::string what;
        ALLOCATOR_PROPERTIES requirements;  // buffers, bytes, alignment, prefix
        bool refuse;
        bool shared;
    };
    for (const Row& row : {
             Row{"no requirements", {}, false, true},
             Row{"requirements that are met", {2, 0x8000, 1, 0}, false, true},
             Row{"more buffers", {3, 0, 1, 0}, false, false},
             Row{"larger buffers", {1, 0x20000, 1, 0}, false, false},
             Row{"other alignment", {1, 1, 16, 0}, false, false},
             Row{"prefix", {1, 1, 1, 8}, false, false},
             Row{"refused", {}, true, false},
         }) {
        CAPTURE(row.what);
        Chain each;
        each.sink->pin.requirements = row.requirements;
        REQUIRE(each.source->pin.Connect(&each.filter->In(), nullptr) == S_OK);
        if (row.refuse) each.sink->pin.refused = each.filter->In().Allocator();
        REQUIRE(each.filter->Out().Connect(&each.sink->pin, nullptr) == S_OK);
        CHECK((each.sink->pin.Allocator() == each.source->pin.Allocator()) == row.shared);
        CHECK(each.filter->buffersDecided == (row.shared ? 0 : 1));

        each.Run();
        const BYTE* place = nullptr;
        const auto prepare = [&](IMediaSample& sample) {
            BYTE* buffer = nullptr;
            sample.GetPointer(&buffer);
            place = buffer;
            sample.SetSyncPoint(TRUE);
            sample.SetDiscontinuity(TRUE);
            sample.SetActualDataLength(77);
            REFERENCE_TIME start = 5, stop = 6;
            sample.SetTime(&start, &stop);
        };
        each.sink->pin.onSample = [&](IMediaSample& sample) {
            REFERENCE_TIME start = 0, stop = 0;
            CHECK(sample.GetTime(&start, &stop) == S_OK);
            CHECK(start == 5);
            CHECK(stop == 6);
            CHECK(sample.IsSyncPoint() == S_OK);
            CHECK(sample.IsDiscontinuity() == S_OK);
            CHECK(sample.IsPreroll() == S_FALSE);
            CHECK(sample.GetActualDataLength() == 77);
        };
        CHECK(each.source->Push(7, prepare) == S_OK);
        CHECK(each.sink->pin.marks == std::vector<BYTE>{107});
        REQUIRE(each.sink->pin.buffers.size() == 1);
        CHECK((each.sink->pin.buffers[0] == place) == row.shared);
        each.Stop();
    }
}

TEST_CASE("the receiver follows when the sender changes its allocator, or gets copies") {
    const NoLeaks noLeaks;
    Chain chain;
    REQUIRE(chain.Connect() == S_OK);
    const Held<FakeAllocator> other;
    other->given = {2, 0x10000, 1, 0};
    SUBCASE("follows, and is told that the samples are read-only") {
        CHECK(chain.filter->In().NotifyAllocator(other.get(), TRUE) == S_OK);
        CHECK(chain.sink->pin.Allocator() == other.get());
        CHECK(chain.sink->pin.IsReadOnly());
        CHECK(chain.filter->buffersDecided == 0);
    }
    SUBCASE("gets copies") {
        chain.sink->pin.refused = other.get();
        CHECK(chain.filter->In().NotifyAllocator(other.get(), FALSE) == S_OK);
        CHECK(chain.sink->pin.Allocator() != other.get());
        CHECK_FALSE(chain.sink->pin.IsReadOnly());
        CHECK(chain.filter->buffersDecided == 1);
    }
    CHECK(chain.filter->In().Allocator() == other.get());
    CHECK(chain.filter->In().NotifyAllocator(nullptr, FALSE) == E_POINTER);
}

TEST_CASE("copies need buffers of some size") {
    const NoLeaks noLeaks;
    CopyingChain chain(0);
    CHECK(chain.filter->Pause() == VFW_E_SIZENOTSET);
}

TEST_CASE("of a sample that tells what it does not have nothing is copied") {
    const NoLeaks noLeaks;
    CopyingChain chain(0x10000);
    chain.Run();
    BYTE bytes[16] = {1};
    const struct {
        BYTE* buffer;
        long dataLength;
        HRESULT result;
    } rows[] = {{bytes, -1, VFW_E_BUFFER_OVERFLOW},
                {bytes, sizeof bytes + 1, VFW_E_BUFFER_OVERFLOW},
                {nullptr, sizeof bytes, E_POINTER},
                {bytes, sizeof bytes, S_OK}};
    for (const auto& row : rows) {
        CAPTURE(row.dataLength);
        const Held<FakeSample, BYTE*, long> sample(row.buffer, sizeof bytes);
        sample->dataLength = row.dataLength;
        CHECK(chain.filter->In().Receive(sample.get()) == row.result);
    }
    CHECK(chain.sink->pin.marks == std::vector<BYTE>{101});
}

TEST_CASE("what Transform answers decides about the sample") {
    const NoLeaks noLeaks;
    Chain chain;
    REQUIRE(chain.Connect() == S_OK);
    chain.Run();
    chain.filter->transformResult = S_FALSE;
    CHECK(chain.source->Push(1) == S_OK);
    CHECK(chain.sink->pin.marks.empty());
    chain.filter->transformResult = E_ACCESSDENIED;
    CHECK(chain.source->Push(2) == E_ACCESSDENIED);
    CHECK(chain.sink->pin.marks.empty());
    chain.filter->transformResult = S_OK;
    CHECK(chain.source->Push(3) == S_OK);
    CHECK(chain.sink->pin.marks == std::vector<BYTE>{103});
}

TEST_CASE("notices travel downstream, quality messages upstream") {
    const NoLeaks noLeaks;
    Chain chain;
    REQUIRE(chain.Connect() == S_OK);
    CHECK(chain.source->pin.DeliverEndOfStream() == VFW_E_WRONG_STATE);
    chain.Run();
    CHECK(chain.source->pin.DeliverNewSegment(42, 43, 1.0) == S_OK);
    CHECK(chain.sink->pin.segmentStart == 42);
    CHECK(chain.source->pin.DeliverBeginFlush() == S_OK);
    CHECK(chain.source->Push(1) == S_FALSE);
    CHECK(chain.source->pin.DeliverEndOfStream() == S_FALSE);
    CHECK(chain.source->pin.DeliverEndFlush() == S_OK);
    CHECK(chain.sink->pin.flushBegins == 1);
    CHECK(chain.sink->pin.flushEnds == 1);
    CHECK(chain.sink->pin.marks.empty());
    CHECK(chain.source->Push(2) == S_OK);
    CHECK(chain.source->pin.DeliverEndOfStream() == S_OK);
    CHECK(chain.sink->pin.ends == 1);

    ComPtr<IQualityControl> quality;
    REQUIRE(chain.filter->Out().QueryInterface(__uuidof(IQualityControl), quality.putVoid()) == S_OK);
    CHECK(quality->Notify(chain.sink.get(), {}) == S_OK);
    CHECK(chain.source->pin.qualityMessages == 1);
    const Held<TestSource> other;
    quality->SetSink(&other->pin);
    CHECK(quality->Notify(chain.sink.get(), {}) == S_OK);
    CHECK(other->pin.qualityMessages == 1);
    quality->SetSink(nullptr);
}

TEST_CASE("Stop and the end of a flush wait until the sample in the filter has left") {
    const NoLeaks noLeaks;
    Chain chain;
    REQUIRE(chain.Connect() == S_OK);
    chain.Run();
    const UniqueHandle entered(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const UniqueHandle release(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const UniqueHandle finished(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    std::atomic<bool> inside{false};
    std::atomic<bool> wasInside{true};
    chain.filter->onTransform = [&] {
        inside = true;
        SetEvent(entered.get());
        WaitForSingleObject(release.get(), INFINITE);
        inside = false;
    };
    HRESULT pushed = E_PENDING;
    std::thread streaming([&] { pushed = chain.source->Push(1); });
    REQUIRE(WaitForSingleObject(entered.get(), 10000) == WAIT_OBJECT_0);
    std::thread stopping;
    SUBCASE("Stop") {
        stopping = std::thread([&] {
            chain.filter->Stop();
            wasInside = inside.load();
            SetEvent(finished.get());
        });
    }
    SUBCASE("EndFlush") {
        CHECK(chain.source->pin.DeliverBeginFlush() == S_OK);  // does not wait
        stopping = std::thread([&] {
            chain.source->pin.DeliverEndFlush();
            wasInside = inside.load();
            SetEvent(finished.get());
        });
    }
    CHECK(WaitForSingleObject(finished.get(), 50) == WAIT_TIMEOUT);
    SetEvent(release.get());
    streaming.join();
    stopping.join();
    CHECK_FALSE(wasInside);
}

TEST_CASE("Stop releases a sender that waits for the buffer of a copy") {
    const NoLeaks noLeaks;
    Chain chain;
    chain.sink->pin.requirements = {5, 0, 1, 0};  // more than the sender has: a copy, with one buffer
    REQUIRE(chain.Connect() == S_OK);
    chain.Run();
    ComPtr<IMediaSample> kept;
    chain.sink->pin.onSample = [&](IMediaSample& sample) { kept = ComPtr<IMediaSample>(&sample); };
    REQUIRE(chain.source->Push(1) == S_OK);
    HRESULT pushed = E_PENDING;
    std::thread streaming([&] { pushed = chain.source->Push(2); });
    chain.filter->Stop();
    streaming.join();
    CHECK(FAILED(pushed));  // with what depends on how far it had come, and waiting on the allocator's maker
    kept.reset();
}

TEST_CASE(
    "a new input type reaches the output: by a new connection while stopped, with the sample in mid-stream") {
    const NoLeaks noLeaks;
    Chain chain;
    const Held<FakeGraph> graph;
    REQUIRE(chain.Connect() == S_OK);
    MediaType& larger = chain.source->pin.types[1];
    chain.filter->JoinFilterGraph(graph.get(), nullptr);

    SUBCASE("new connection") {
        chain.source->pin.Disconnect();
        chain.filter->In().Disconnect();
        REQUIRE(chain.source->pin.Connect(&chain.filter->In(), &larger) == S_OK);
        CHECK(graph->reconnects == 1);
        // What the graph's Reconnect does.
        chain.filter->Out().Disconnect();
        chain.sink->pin.Disconnect();
        REQUIRE(chain.filter->Out().Connect(&chain.sink->pin, nullptr) == S_OK);
        CHECK(SameMediaType(chain.sink->pin.Type(), larger));
        CHECK(chain.sink->pin.Allocator() == chain.source->pin.Allocator());
    }
    SUBCASE("the same type again needs no new connection") {
        chain.source->pin.Disconnect();
        chain.filter->In().Disconnect();
        REQUIRE(chain.source->pin.Connect(&chain.filter->In(), nullptr) == S_OK);
        CHECK(graph->reconnects == 0);
        CHECK(chain.sink->pin.Allocator() == chain.source->pin.Allocator());
    }
    SUBCASE("a type that the receiver does not take is refused at the input") {
        chain.source->pin.Disconnect();
        chain.filter->In().Disconnect();
        chain.sink->pin.accepts = [](const AM_MEDIA_TYPE&) { return false; };
        CHECK(chain.source->pin.Connect(&chain.filter->In(), &larger) == VFW_E_TYPE_NOT_ACCEPTED);
    }
    SUBCASE("in mid-stream") {
        chain.Run();
        CHECK(chain.source->Push(1, [&](IMediaSample& sample) { sample.SetMediaType(&larger); }) == S_OK);
        CHECK(SameMediaType(chain.filter->In().Type(), larger));
        CHECK(SameMediaType(chain.filter->Out().Type(), larger));
        CHECK(SameMediaType(chain.sink->pin.Type(), larger));
    }
    chain.filter->JoinFilterGraph(nullptr, nullptr);
}
