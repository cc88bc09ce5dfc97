#include <doctest/doctest.h>

#include <thread>

#include "filter_base/renderer.h"
#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

namespace {
class Recorder final : public RendererFilter {
  public:
    Recorder() : RendererFilter(nullptr, nullptr, GUID_NULL) {}

    HRESULT CheckMediaType(const AM_MEDIA_TYPE&) override { return S_OK; }
    HRESULT SetMediaType(const AM_MEDIA_TYPE&) override { return typeResult; }
    HRESULT DoRenderSample(IMediaSample* sample) override {
        BYTE* buffer = nullptr;
        sample->GetPointer(&buffer);
        marks.push_back(buffer[0]);
        return renderResult;
    }
    IPin* In() { return PinAt(0); }

    std::vector<BYTE> marks;
    HRESULT typeResult = S_OK;
    HRESULT renderResult = S_OK;
};

struct Branch {
    Held<TestSource> source;
    Held<Recorder> sink;
    Held<FakeGraph> graph;
    Held<FakeClock> clock;

    Branch() {
        source->pin.types.push_back(VideoType(MEDIASUBTYPE_YUY2, 64, 48, 16));
        REQUIRE(source->pin.Connect(sink->In(), nullptr) == S_OK);
        sink->JoinFilterGraph(graph.get(), nullptr);
        sink->SetSyncSource(clock.get());
    }
    ~Branch() {
        sink->Stop();
        source->Stop();
        sink->JoinFilterGraph(nullptr, nullptr);
        source->pin.Disconnect();
        sink->In()->Disconnect();
    }
    HRESULT PushTimed(BYTE mark, REFERENCE_TIME start) {
        return source->Push(mark, [start](IMediaSample& sample) {
            REFERENCE_TIME from = start, to = start + 1;
            sample.SetTime(&from, &to);
        });
    }
    void AwaitAdvise() { REQUIRE(WaitForSingleObject(clock->advised.get(), 10000) == WAIT_OBJECT_0); }
};
}  // namespace

TEST_CASE("samples without a time are rendered at once, paused or running, and failures stay inside") {
    const NoLeaks noLeaks;
    Branch branch;
    FILTER_STATE state = State_Stopped;
    CHECK(branch.source->Pause() == S_OK);
    CHECK(branch.source->Push(1) == E_FAIL);
    CHECK(branch.sink->Pause() == S_OK);
    CHECK(branch.sink->GetState(0, &state) == S_OK);  // waits for no first sample
    CHECK(branch.source->Push(2) == S_OK);
    CHECK(branch.sink->Run(0) == S_OK);
    branch.sink->renderResult = E_FAIL;
    CHECK(branch.source->Push(3) == S_OK);
    CHECK(branch.sink->marks == std::vector<BYTE>{2, 3});
}

TEST_CASE("a timed sample waits for Run and for its moment") {
    const NoLeaks noLeaks;
    Branch branch;
    branch.source->Pause();
    branch.sink->Pause();
    HRESULT pushed = E_PENDING;
    std::thread streaming([&] { pushed = branch.PushTimed(9, 500); });
    branch.sink->Run(1000);
    branch.AwaitAdvise();
    CHECK(branch.clock->dueTime == 1500);

    SUBCASE("due while running") {
        branch.clock->Strike();
    }
    SUBCASE("paused before it is due: due anew after the next Run") {
        branch.sink->Pause();
        SUBCASE("its old moment comes while paused") {
            branch.clock->Strike();
            branch.sink->Run(3000);
        }
        SUBCASE("its old moment comes after the next Run") {
            branch.sink->Run(3000);
            branch.clock->Strike();
        }
        branch.AwaitAdvise();
        CHECK(branch.clock->dueTime == 3500);
        branch.clock->Strike();
    }
    streaming.join();
    CHECK(pushed == S_OK);
    CHECK(branch.sink->marks == std::vector<BYTE>{9});
    CHECK(branch.clock->unadvised == 0);
}

TEST_CASE("without a clock a timed sample is due when the filter runs") {
    const NoLeaks noLeaks;
    Branch branch;
    branch.sink->SetSyncSource(nullptr);
    branch.source->Pause();
    branch.sink->Run(0);
    CHECK(branch.PushTimed(1, 1000000000) == S_OK);
    CHECK(branch.sink->marks.size() == 1);
}

TEST_CASE("a waiting sample is let go by Stop and by a flush") {
    const NoLeaks noLeaks;
    Branch branch;
    branch.source->Pause();
    branch.sink->Run(0);
    HRESULT pushed = E_PENDING;
    std::thread streaming([&] { pushed = branch.PushTimed(9, 500); });
    branch.AwaitAdvise();
    SUBCASE("Stop") {
        branch.sink->Stop();
        streaming.join();
        CHECK(pushed == S_OK);
    }
    SUBCASE("flush, and the stream goes on") {
        branch.sink->In()->BeginFlush();
        streaming.join();
        CHECK(pushed == S_OK);
        CHECK(branch.source->Push(1) == E_FAIL);
        branch.sink->In()->EndFlush();
        CHECK(branch.source->Push(2) == S_OK);
    }
    CHECK(branch.clock->unadvised == 1);
    for (const BYTE mark : branch.sink->marks) CHECK(mark == 2);
}

TEST_CASE("the end of the stream is reported once, when running") {
    const NoLeaks noLeaks;
    Branch branch;
    branch.source->Pause();
    CHECK(branch.source->pin.DeliverEndOfStream() == VFW_E_WRONG_STATE);
    branch.sink->Pause();
    CHECK(branch.source->pin.DeliverEndOfStream() == S_OK);
    CHECK(branch.graph->events.empty());
    branch.sink->Run(0);
    branch.sink->Pause();
    branch.sink->Run(0);
    REQUIRE(branch.graph->events.size() == 1);
    CHECK(branch.graph->events[0].code == EC_COMPLETE);
    CHECK(branch.graph->events[0].parameter1 == S_OK);
    CHECK(branch.graph->events[0].parameter2 ==
          reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(branch.sink.get())));
    // After a flush the stream may end once more.
    branch.sink->In()->BeginFlush();
    branch.sink->In()->EndFlush();
    CHECK(branch.source->pin.DeliverEndOfStream() == S_OK);
    CHECK(branch.graph->events.size() == 2);
}

TEST_CASE(
    "a renderer says that it is one, has no way on, and refuses a connection whose type does not work out") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    const Held<Recorder> sink;
    source->pin.types.push_back(VideoType(MEDIASUBTYPE_YUY2, 64, 48, 16));
    ComPtr<IAMFilterMiscFlags> flags;
    REQUIRE(sink->QueryInterface(__uuidof(IAMFilterMiscFlags), flags.putVoid()) == S_OK);
    CHECK(flags->GetMiscFlags() == AM_FILTER_MISC_FLAGS_IS_RENDERER);
    ULONG count = 7;
    IPin* none = nullptr;
    CHECK(sink->In()->QueryInternalConnections(&none, &count) == S_OK);
    CHECK(count == 0);
    sink->typeResult = E_FAIL;
    CHECK(FAILED(source->pin.Connect(sink->In(), nullptr)));
    CHECK_FALSE(sink->PinAt(0)->IsConnected());
    CHECK_FALSE(source->pin.IsConnected());
}
