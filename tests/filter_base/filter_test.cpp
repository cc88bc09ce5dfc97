#include <doctest/doctest.h>

#include <cwchar>
#include <string>

#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

TEST_CASE("a filter knows its graph without keeping it alive") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    FILTER_INFO info = {};
    REQUIRE(source->QueryFilterInfo(&info) == S_OK);
    CHECK(std::wstring(info.achName) == L"Source");
    CHECK(info.pGraph == nullptr);
    CHECK(source->NotifyEvent(EC_USER, 0, 0) == E_NOTIMPL);
    {
        const Held<FakeGraph> graph;
        const ULONG before = CountOf(graph->Inner());
        const std::wstring longName(300, L'x');
        REQUIRE(source->JoinFilterGraph(graph.get(), longName.c_str()) == S_OK);
        CHECK(CountOf(graph->Inner()) == before);
        REQUIRE(source->QueryFilterInfo(&info) == S_OK);
        CHECK(std::wcslen(info.achName) == MAX_FILTER_NAME - 1);
        REQUIRE(info.pGraph == graph.get());
        info.pGraph->Release();

        CHECK(source->NotifyEvent(EC_USER, 5, 6) == S_OK);
        REQUIRE(graph->events.size() == 1);
        CHECK(graph->events[0].parameter2 == 6);
        REQUIRE(source->JoinFilterGraph(nullptr, nullptr) == S_OK);
    }
    CHECK(source->NotifyEvent(EC_USER, 0, 0) == E_NOTIMPL);
}

TEST_CASE("a filter keeps its clock and gives it back") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    const Held<FakeClock> clock;
    ComPtr<IReferenceClock> out;
    CHECK(source->GetSyncSource(nullptr) == E_POINTER);
    CHECK(source->GetSyncSource(out.put()) == S_OK);
    CHECK_FALSE(out);
    CHECK(source->SetSyncSource(clock.get()) == S_OK);
    CHECK(source->GetSyncSource(out.put()) == S_OK);
    CHECK(out.get() == clock.get());
    CHECK(CountOf(clock->Inner()) == 3);  // the test, the filter, `out`
    CHECK(source->SetSyncSource(nullptr) == S_OK);
}

TEST_CASE("pins are found by their ids and describe themselves") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    ComPtr<IPin> pin;
    CHECK(source->FindPin(L"In", pin.put()) == VFW_E_NOT_FOUND);
    CHECK_FALSE(pin);
    REQUIRE(source->FindPin(L"Out", pin.put()) == S_OK);
    LPWSTR id = nullptr;
    REQUIRE(pin->QueryId(&id) == S_OK);
    CHECK(std::wstring(id) == L"Out");
    CoTaskMemFree(id);
    PIN_INFO info = {};
    REQUIRE(pin->QueryPinInfo(&info) == S_OK);
    CHECK(info.pFilter == source.get());
    CHECK(info.dir == PINDIR_OUTPUT);
    info.pFilter->Release();

    LPWSTR vendor = id;
    CHECK(source->QueryVendorInfo(&vendor) == E_NOTIMPL);
    CHECK(vendor == nullptr);
    // What travels downstream has no business at an output pin.
    CHECK(pin->EndOfStream() == E_UNEXPECTED);
    CHECK(pin->BeginFlush() == E_UNEXPECTED);
    CHECK(pin->EndFlush() == E_UNEXPECTED);
}

TEST_CASE("states follow the calls, from stopped to running through paused") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    FILTER_STATE state = State_Running;
    CHECK(source->GetState(0, nullptr) == E_POINTER);
    CHECK(source->GetState(0, &state) == S_OK);
    CHECK(state == State_Stopped);
    CHECK(source->Run(1234) == S_OK);
    CHECK(source->StartTime() == 1234);
    CHECK(source->State() == State_Running);
    CHECK(source->Pause() == S_OK);
    CHECK(source->State() == State_Paused);
    CHECK(source->Stop() == S_OK);
    CHECK(source->Stop() == S_OK);
    CHECK(source->IsStopped());
}

TEST_CASE("a filter whose pin cannot become active does not leave the stopped state") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    const Held<TestSink> sink;
    source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16));
    sink->pin.activeResult = VFW_E_NO_ALLOCATOR;
    CHECK(sink->Pause() == S_OK);  // a pin without a connection is not asked
    CHECK(sink->Stop() == S_OK);
    REQUIRE(source->pin.Connect(&sink->pin, nullptr) == S_OK);
    for (const bool run : {false, true}) {
        sink->pin.inactives = 0;
        CHECK((run ? sink->Run(0) : sink->Pause()) == VFW_E_NO_ALLOCATOR);
        CHECK(sink->IsStopped());
        CHECK(sink->pin.inactives == 1);  // what it had begun is undone
    }
    source->pin.Disconnect();
    sink->pin.Disconnect();
}
