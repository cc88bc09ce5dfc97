#include <doctest/doctest.h>

#include <string>

#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

TEST_CASE("counts tell the truth and the last release destroys") {
    const NoLeaks noLeaks;
    auto* source = new TestSource;
    const LONG alive = LiveObjects();
    IUnknown* unknown = source->Inner();
    CHECK(unknown->AddRef() == 1);
    CHECK(source->AddRef() == 2);
    CHECK(source->pin.AddRef() == 3);  // a pin lives in its filter
    CHECK(source->pin.Release() == 2);
    CHECK(source->Release() == 1);
    CHECK(LiveObjects() == alive);
    CHECK(unknown->Release() == 0);
    CHECK(LiveObjects() == alive - 1);
}

TEST_CASE(
    "the interface map answers for every interface, adds a reference and clears the pointer otherwise") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    const Held<TestSink> sink;
    struct Row {
        std::string what;
        IUnknown* object;
        IID id;
        bool offered;
    };
    IUnknown* filter = source->Inner();
    IUnknown* output = static_cast<IPin*>(&source->pin);
    IUnknown* input = static_cast<IPin*>(&sink->pin);
    for (const Row& row : {
             Row{"filter, IUnknown", filter, __uuidof(IUnknown), true},
             Row{"filter, IPersist", filter, __uuidof(IPersist), true},
             Row{"filter, IMediaFilter", filter, __uuidof(IMediaFilter), true},
             Row{"filter, IBaseFilter", filter, __uuidof(IBaseFilter), true},
             Row{"filter, IPin", filter, __uuidof(IPin), false},
             Row{"output, IPin", output, __uuidof(IPin), true},
             Row{"output, IUnknown", output, __uuidof(IUnknown), true},
             Row{"output, IQualityControl", output, __uuidof(IQualityControl), true},
             Row{"output, IMemInputPin", output, __uuidof(IMemInputPin), false},
             Row{"output, IBaseFilter", output, __uuidof(IBaseFilter), false},
             Row{"input, IMemInputPin", input, __uuidof(IMemInputPin), true},
             Row{"input, IQualityControl", input, __uuidof(IQualityControl), true},
         }) {
        CAPTURE(row.what);
        const ULONG before = CountOf(row.object);
        void* out = &out;
        CHECK(row.object->QueryInterface(row.id, &out) == (row.offered ? S_OK : E_NOINTERFACE));
        CHECK((out != nullptr) == row.offered);
        CHECK(CountOf(row.object) == before + (row.offered ? 1 : 0));
        if (out) {
            // Whatever the way, the identity is the same.
            ComPtr<IUnknown> first;
            ComPtr<IUnknown> second;
            static_cast<IUnknown*>(out)->QueryInterface(__uuidof(IUnknown), first.putVoid());
            row.object->QueryInterface(__uuidof(IUnknown), second.putVoid());
            CHECK(first.get() == second.get());
            static_cast<IUnknown*>(out)->Release();
        }
        CHECK(row.object->QueryInterface(row.id, nullptr) == E_POINTER);
    }
}

TEST_CASE("an aggregated object hands its interfaces' counts and queries to the outer one") {
    const NoLeaks noLeaks;
    {
        Outer outer;
        auto* source = new TestSource(&outer);
        outer.inner = ComPtr<IUnknown>(source->Inner());
        CHECK(outer.count == 1);  // the inner unknown counts for itself

        ComPtr<IBaseFilter> filter;
        REQUIRE(outer.QueryInterface(__uuidof(IBaseFilter), filter.putVoid()) == S_OK);
        CHECK(outer.count == 2);
        CHECK(CountOf(source->Inner()) == 1);

        ComPtr<IUnknown> identity;
        REQUIRE(filter.QueryTo(identity) == S_OK);
        CHECK(identity.get() == &outer);

        ComPtr<IPin> pin;
        REQUIRE(filter->FindPin(L"Out", pin.put()) == S_OK);
        CHECK(outer.count == 4);
        PIN_INFO info = {};
        pin->QueryPinInfo(&info);
        CHECK(info.pFilter == filter.get());
        info.pFilter->Release();
    }
}
