#include <doctest/doctest.h>

#include <atomic>
#include <thread>

#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

namespace {
struct Pair {
    Held<TestSource> source;
    Held<TestSink> sink;

    Pair() {
        source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16));
        source->pin.types.push_back(VideoType(MEDIASUBTYPE_YUY2, 640, 480, 16));
    }
    ~Pair() {
        source->pin.Disconnect();
        sink->pin.Disconnect();
    }
    HRESULT Connect(const AM_MEDIA_TYPE* proposal = nullptr) {
        return source->pin.Connect(&sink->pin, proposal);
    }
    GUID Subtype() { return source->pin.Type().subtype; }
};

std::function<bool(const AM_MEDIA_TYPE&)> Only(const GUID& subtype) {
    return [subtype](const AM_MEDIA_TYPE& type) { return IsEqualGUID(type.subtype, subtype) != FALSE; };
}
}  // namespace

TEST_CASE("the receiver's wishes come before the sender's own types") {
    const NoLeaks noLeaks;
    Pair pair;
    SUBCASE("no wishes: the first type of the sender") {
        CHECK(pair.Connect() == S_OK);
        CHECK(pair.Subtype() == MEDIASUBTYPE_RGB555);
    }
    SUBCASE("a wish that the sender can fulfil") {
        pair.sink->pin.wishes.push_back(VideoType(MEDIASUBTYPE_RGB565, 1, 1, 16));
        pair.sink->pin.wishes.push_back(VideoType(MEDIASUBTYPE_YUY2, 640, 480, 16));
        CHECK(pair.Connect() == S_OK);
        CHECK(pair.Subtype() == MEDIASUBTYPE_YUY2);
    }
    SUBCASE("wishes that it cannot fulfil") {
        pair.sink->pin.wishes.push_back(VideoType(MEDIASUBTYPE_RGB565, 1, 1, 16));
        CHECK(pair.Connect() == S_OK);
        CHECK(pair.Subtype() == MEDIASUBTYPE_RGB555);
    }
    SUBCASE("the receiver takes only the sender's second type") {
        pair.sink->pin.accepts = Only(MEDIASUBTYPE_YUY2);
        CHECK(pair.Connect() == S_OK);
        CHECK(pair.Subtype() == MEDIASUBTYPE_YUY2);
        CHECK(pair.sink->pin.offered.size() == 2);
    }
    REQUIRE(pair.source->pin.IsConnected());
    CHECK(SameMediaType(pair.source->pin.Type(), pair.sink->pin.Type()));
    CHECK(pair.source->pin.Allocator() == pair.sink->pin.Allocator());
}

TEST_CASE("a complete proposal is tried alone, an open one narrows the choice") {
    const NoLeaks noLeaks;
    Pair pair;
    MediaType proposal = VideoType(MEDIASUBTYPE_YUY2, 640, 480, 16);
    SUBCASE("complete and acceptable") {
        CHECK(pair.Connect(&proposal) == S_OK);
        CHECK(pair.sink->pin.offered.size() == 1);
    }
    SUBCASE("complete, not the sender's") {
        proposal.subtype = MEDIASUBTYPE_RGB565;
        CHECK(pair.Connect(&proposal) == VFW_E_TYPE_NOT_ACCEPTED);
        CHECK(pair.sink->pin.offered.empty());
    }
    SUBCASE("complete, not the receiver's") {
        pair.sink->pin.accepts = Only(MEDIASUBTYPE_RGB555);
        CHECK(pair.Connect(&proposal) == VFW_E_TYPE_NOT_ACCEPTED);
    }
    SUBCASE("open") {
        proposal.formattype = GUID_NULL;
        CHECK(pair.Connect(&proposal) == S_OK);
        CHECK(pair.Subtype() == MEDIASUBTYPE_YUY2);
    }
    SUBCASE("open, but nothing fits") {
        proposal.formattype = GUID_NULL;
        proposal.subtype = MEDIASUBTYPE_RGB565;
        CHECK(pair.Connect(&proposal) == VFW_E_NO_ACCEPTABLE_TYPES);
    }
    CHECK(pair.source->pin.IsConnected() == pair.sink->pin.IsConnected());
}

TEST_CASE("connections are refused and undone as they should") {
    const NoLeaks noLeaks;
    Pair pair;
    const Held<TestSource> other;
    IPin* output = &pair.source->pin;
    IPin* input = &pair.sink->pin;
    const MediaType type = VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16);

    CHECK(output->Connect(nullptr, nullptr) == E_POINTER);
    CHECK(input->ReceiveConnection(nullptr, &type) == E_POINTER);
    CHECK(input->ReceiveConnection(output, nullptr) == E_POINTER);
    CHECK(output->Connect(&other->pin, &type) == VFW_E_INVALID_DIRECTION);
    CHECK(input->Connect(output, &type) == E_UNEXPECTED);  // connecting is the output pin's part
    CHECK(output->ReceiveConnection(input, &type) == E_UNEXPECTED);

    pair.sink->Pause();
    CHECK(output->Connect(input, &type) == VFW_E_NOT_STOPPED);
    CHECK_FALSE(pair.source->pin.IsConnected());
    pair.sink->Stop();
    pair.source->Pause();
    CHECK(output->Connect(input, &type) == VFW_E_NOT_STOPPED);
    pair.source->Stop();

    SUBCASE("no allocator can be agreed on: both sides are free again") {
        pair.source->pin.sizeResult = E_OUTOFMEMORY;
        CHECK(output->Connect(input, &type) == E_OUTOFMEMORY);
        CHECK(pair.sink->pin.disconnects == 1);
    }
    SUBCASE("the sender itself does not have that type: the receiver hears nothing of it") {
        const MediaType other8 = VideoType(MEDIASUBTYPE_RGB8, 320, 240, 8);
        CHECK(output->Connect(input, &other8) == VFW_E_TYPE_NOT_ACCEPTED);
        CHECK(pair.sink->pin.disconnects == 0);
    }
    SUBCASE("connected: no second time, no disconnecting while active") {
        REQUIRE(output->Connect(input, &type) == S_OK);
        CHECK(output->Connect(input, &type) == VFW_E_ALREADY_CONNECTED);
        CHECK(input->ReceiveConnection(output, &type) == VFW_E_ALREADY_CONNECTED);
        ComPtr<IPin> peer;
        CHECK(output->ConnectedTo(peer.put()) == S_OK);
        CHECK(peer.get() == input);
        pair.source->Pause();
        CHECK(output->Disconnect() == VFW_E_NOT_STOPPED);
        pair.source->Stop();
        CHECK(output->Disconnect() == S_OK);
        CHECK(output->Disconnect() == S_FALSE);
        CHECK(input->Disconnect() == S_OK);
    }
    AM_MEDIA_TYPE none = type;
    ComPtr<IPin> peer;
    CHECK(output->ConnectedTo(peer.put()) == VFW_E_NOT_CONNECTED);
    CHECK_FALSE(peer);
    CHECK(input->ConnectionMediaType(&none) == VFW_E_NOT_CONNECTED);
    CHECK(none.pbFormat == nullptr);
    CHECK(pair.sink->pin.Allocator() == nullptr);
}

TEST_CASE("an allocator of the receiver's comes first, then one of the system's") {
    const NoLeaks noLeaks;
    Pair pair;
    ComPtr<IMemAllocator> receivers;
    REQUIRE(pair.sink->pin.GetAllocator(receivers.put()) == S_OK);
    SUBCASE("the receiver's") {
        REQUIRE(pair.Connect() == S_OK);
        CHECK(pair.source->pin.Allocator() == receivers.get());
    }
    SUBCASE("the system's, when the receiver does not take its own") {
        pair.sink->pin.refused = receivers.get();
        REQUIRE(pair.Connect() == S_OK);
        CHECK(pair.source->pin.Allocator() != receivers.get());
        CHECK(pair.sink->pin.Allocator() == pair.source->pin.Allocator());
    }
    // Committed while active only.
    ComPtr<IMediaSample> sample;
    CHECK(pair.source->pin.GetDeliveryBuffer(sample.put()) == VFW_E_NOT_COMMITTED);
    pair.sink->Pause();
    pair.source->Pause();
    CHECK(pair.source->Push(1) == S_OK);
    CHECK(pair.sink->pin.marks == std::vector<BYTE>{1});
    pair.source->Stop();
    CHECK(pair.source->Push(2) == VFW_E_NOT_COMMITTED);
    pair.sink->Stop();
}

TEST_CASE("a thread that waits for a free buffer gets the next one, or ends when the source stops") {
    const NoLeaks noLeaks;
    Pair pair;
    pair.source->pin.bufferCount = 1;
    REQUIRE(pair.Connect() == S_OK);
    pair.sink->Pause();
    pair.source->Pause();
    ComPtr<IMediaSample> only;
    REQUIRE(pair.source->pin.GetDeliveryBuffer(only.put()) == S_OK);
    std::atomic<bool> hasNext = false, ended = false;
    HRESULT first = E_PENDING, second = E_PENDING;
    std::thread waiting([&] {
        ComPtr<IMediaSample> next;
        first = pair.source->pin.GetDeliveryBuffer(next.put());
        hasNext = true;
        ComPtr<IMediaSample> none;
        second = pair.source->pin.GetDeliveryBuffer(none.put());
        ended = true;
    });
    Sleep(20);
    CHECK_FALSE(hasNext);
    only.reset();
    for (int tries = 0; !hasNext && tries < 5000; ++tries) Sleep(1);
    Sleep(20);
    CHECK_FALSE(ended);
    pair.source->Stop();
    waiting.join();
    CHECK(first == S_OK);
    CHECK(second == VFW_E_NOT_COMMITTED);
    pair.sink->Stop();
}

TEST_CASE("an input pin takes samples only connected, active, unflushed and of a good type") {
    const NoLeaks noLeaks;
    Pair pair;
    BYTE memory[4] = {};
    const Held<FakeSample, BYTE*, long> sample(memory, 4);
    TestSinkPin& input = pair.sink->pin;
    CHECK(input.Receive(sample.get()) == VFW_E_NOT_CONNECTED);
    REQUIRE(pair.Connect() == S_OK);
    CHECK(input.Receive(sample.get()) == VFW_E_WRONG_STATE);
    const Held<FakeGraph> graph;
    pair.sink->JoinFilterGraph(graph.get(), nullptr);
    pair.sink->Pause();
    pair.source->Pause();
    CHECK(input.Receive(sample.get()) == S_OK);
    input.BeginFlush();
    CHECK(input.Receive(sample.get()) == S_FALSE);
    input.EndFlush();

    IMediaSample* both[] = {sample.get(), sample.get()};
    long processed = 0;
    CHECK(input.ReceiveMultiple(both, 2, &processed) == S_OK);
    CHECK(processed == 2);
    CHECK(input.ReceiveCanBlock() == S_OK);

    // A type that the sample brings along is taken over; one that is refused ends the stream.
    MediaType larger = VideoType(MEDIASUBTYPE_YUY2, 800, 600, 16);
    CHECK(pair.source->Push(3, [&](IMediaSample& s) { s.SetMediaType(&larger); }) == S_OK);
    CHECK(SameMediaType(input.Type(), larger));
    input.accepts = [](const AM_MEDIA_TYPE&) { return false; };
    CHECK(pair.source->Push(4, [&](IMediaSample& s) { s.SetMediaType(&larger); }) == VFW_E_INVALIDMEDIATYPE);
    REQUIRE(graph->events.size() == 1);
    CHECK(graph->events[0].code == EC_ERRORABORT);
    CHECK(graph->events[0].parameter1 == static_cast<LONG_PTR>(VFW_E_TYPE_NOT_ACCEPTED));
    CHECK(input.Receive(sample.get()) == VFW_E_RUNTIME_ERROR);
    CHECK(input.ReceiveMultiple(both, 2, &processed) == VFW_E_RUNTIME_ERROR);
    CHECK(processed == 0);
    pair.source->Stop();
    pair.sink->Stop();
    pair.sink->Pause();  // a new start forgets it
    CHECK(input.Receive(sample.get()) == S_OK);
    pair.sink->Stop();
    pair.sink->JoinFilterGraph(nullptr, nullptr);
}
