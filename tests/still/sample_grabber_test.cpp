#include <doctest/doctest.h>

#include <string>

#include "filter_base/test_filters.h"
#include "still/sample_grabber.h"

using namespace cam;
using namespace cam::test;
using still::SampleGrabberFilter;

namespace {
struct Frame {
    void* data;
    DWORD size;
    LONG height, width;
    DWORD stride;
};
std::vector<Frame> frames;

void WINAPI Keep(void* data, DWORD size, LONG height, LONG width, DWORD stride) {
    frames.push_back({data, size, height, width, stride});
}

void WINAPI KeepNothing(void*, DWORD, LONG, LONG, DWORD) {}

struct Grabber : Held<SampleGrabberFilter, IUnknown*> {
    Grabber() : Held(nullptr) { frames.clear(); }
    ~Grabber() { Disconnect(); }
    IPin* In() { return (*this)->PinAt(0); }
    IPin* Out() { return (*this)->PinAt(1); }
    HRESULT ConnectTo(TestSource& source, const MediaType& type) {
        source.pin.types.clear();
        source.pin.types.emplace_back();
        source.pin.types[0].CopyFrom(type);
        return source.pin.Connect(In(), nullptr);
    }
    void Disconnect() {
        for (IPin* pin : {In(), Out()}) {
            ComPtr<IPin> peer;
            if (pin->ConnectedTo(peer.put()) == S_OK) peer->Disconnect();
            pin->Disconnect();
        }
    }
};

struct TypeRow {
    std::string what;
    GUID major, sub, format;
    ULONG formatSize;
    bool hasBlock;
    HRESULT check, set;
};
const TypeRow kTypes[] = {
    {"RGB555", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 88, true, S_OK, S_OK},
    {"with masks behind the header", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 100, true, S_OK,
     S_OK},
    {"format block one byte short", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 87, true, S_OK,
     E_FAIL},
    {"no format block", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 88, false, S_OK, E_FAIL},
    {"another format", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo2, 88, true, E_FAIL, E_FAIL},
    {"YUY2", MEDIATYPE_Video, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo, 88, true, E_FAIL, E_FAIL},
    {"RGB565", MEDIATYPE_Video, MEDIASUBTYPE_RGB565, FORMAT_VideoInfo, 88, true, E_FAIL, E_FAIL},
    {"audio", MEDIATYPE_Audio, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 88, true, E_FAIL, E_FAIL},
    {"nothing", GUID_NULL, GUID_NULL, GUID_NULL, 88, true, E_FAIL, E_FAIL},
};
}  // namespace

TEST_CASE("the sample grabber takes RGB555 with a complete header, and a refused type changes nothing") {
    const NoLeaks noLeaks;
    for (const TypeRow& row : kTypes) {
        CAPTURE(row.what);
        Grabber grabber;
        FrameGeometry geometry = {1, 2, 3, 4};
        CHECK(grabber->GetGeometry(&geometry) == S_OK);
        CHECK(geometry.width == 0);
        REQUIRE(grabber->SetMediaType(PINDIR_INPUT, VideoType(MEDIASUBTYPE_RGB555, 64, 48, 16)) == S_OK);

        MediaType type = VideoType(row.sub, 160, -120, 16, row.formatSize);
        type.majortype = row.major;
        type.formattype = row.format;
        BYTE* block = type.pbFormat;
        if (!row.hasBlock) type.pbFormat = nullptr;
        CHECK(grabber->CheckInputType(type) == row.check);
        CHECK(grabber.In()->QueryAccept(&type) == (row.check == S_OK ? S_OK : S_FALSE));
        CHECK(grabber->SetMediaType(PINDIR_OUTPUT, type) == row.set);
        type.pbFormat = block;

        MediaType kept;
        CHECK(grabber->GetGeometry(&geometry) == S_OK);
        CHECK(grabber->GetInputMediaType(kept.put()) == S_OK);
        CHECK(geometry.width == (row.set == S_OK ? 160 : 64));
        CHECK(geometry.height == (row.set == S_OK ? -120 : 48));
        CHECK(SameMediaType(kept, type) == (row.set == S_OK));
    }
}

TEST_CASE("rows are padded to four bytes") {
    const NoLeaks noLeaks;
    Grabber grabber;
    for (const auto& [width, bits, stride] :
         {std::tuple<LONG, WORD, DWORD>{320, 16, 640}, {161, 16, 324}, {1, 16, 4}, {3, 24, 12}, {5, 8, 8}}) {
        CAPTURE(width);
        REQUIRE(grabber->SetMediaType(PINDIR_INPUT, VideoType(MEDIASUBTYPE_RGB555, width, 10, bits)) == S_OK);
        FrameGeometry geometry = {};
        grabber->GetGeometry(&geometry);
        CHECK(geometry.stride == stride);
        CHECK(geometry.sampleSize == stride * 10);
    }
}

TEST_CASE("the output offers exactly the input's type") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    Grabber grabber;
    MediaType type;
    CHECK(grabber->GetMediaType(0, type) == E_UNEXPECTED);
    CHECK(grabber->GetMediaType(-1, type) == E_UNEXPECTED);
    CHECK(grabber->GetInputMediaType(type.put()) == VFW_E_NOT_CONNECTED);
    REQUIRE(grabber.ConnectTo(*source, VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16)) == S_OK);
    CHECK(grabber->GetMediaType(-1, type) == E_INVALIDARG);
    CHECK(grabber->GetMediaType(1, type) == VFW_S_NO_MORE_ITEMS);
    CHECK(grabber->GetMediaType(0, type) == S_OK);
    CHECK(SameMediaType(type, source->pin.types[0]));
}

TEST_CASE("one buffer of the sample size is asked for, and what the allocator gives is judged") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    Grabber grabber;
    const Held<FakeAllocator> allocator;
    ALLOCATOR_PROPERTIES request = {7, 7, 4, 2};
    CHECK(grabber->DecideBufferSize(allocator.get(), &request) == E_UNEXPECTED);
    REQUIRE(grabber.ConnectTo(*source, VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16)) == S_OK);
    constexpr long kSize = 320 * 240 * 2;
    struct Row {
        std::string what;
        long buffers, bytes;
        HRESULT answer, expected;
    };
    for (const Row& row : {
             Row{"as asked", 1, kSize, S_OK, S_OK},
             Row{"more", 4, kSize + 1, S_OK, S_OK},
             Row{"no buffer", 0, kSize, S_OK, E_FAIL},
             Row{"too small", 1, kSize - 1, S_OK, E_FAIL},
             Row{"refused", 1, kSize, VFW_E_ALREADY_COMMITTED, VFW_E_ALREADY_COMMITTED},
         }) {
        CAPTURE(row.what);
        allocator->given = {row.buffers, row.bytes, 1, 0};
        allocator->result = row.answer;
        request = {7, 7, 4, 2};
        CHECK(grabber->DecideBufferSize(allocator.get(), &request) == row.expected);
        CHECK(allocator->asked.cBuffers == 1);
        CHECK(allocator->asked.cbBuffer == kSize);
    }
}

TEST_CASE("Transform shows the whole buffer to the callback, if there is one") {
    const NoLeaks noLeaks;
    Grabber grabber;
    REQUIRE(grabber->SetMediaType(PINDIR_INPUT, VideoType(MEDIASUBTYPE_RGB555, 161, -100, 16)) == S_OK);
    BYTE memory[64] = {};
    const Held<FakeSample, BYTE*, long> sample(memory, 64);
    sample->dataLength = 12;
    CHECK(grabber->Transform(nullptr) == E_FAIL);
    CHECK(grabber->Transform(sample.get()) == S_OK);
    CHECK(frames.empty());

    REQUIRE(grabber->SetCallback(Keep) == S_OK);
    CHECK(grabber->Transform(sample.get()) == S_OK);
    REQUIRE(frames.size() == 1);
    CHECK(frames[0].data == memory);
    CHECK(frames[0].size == 64);
    CHECK(frames[0].height == -100);
    CHECK(frames[0].width == 161);
    CHECK(frames[0].stride == 324);

    sample->pointerResult = E_ACCESSDENIED;
    CHECK(grabber->Transform(sample.get()) == E_ACCESSDENIED);
    sample->pointerResult = S_OK;
    CHECK(grabber->SetCallback(nullptr) == S_OK);
    CHECK(grabber->Transform(sample.get()) == S_OK);
    CHECK(frames.size() == 1);
}

TEST_CASE("frames pass the grabber in their own buffer while the callback comes and goes") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    const Held<TestSink> sink;
    Grabber grabber;
    REQUIRE(grabber.ConnectTo(*source, VideoType(MEDIASUBTYPE_RGB555, 64, 48, 16)) == S_OK);
    REQUIRE(grabber->PinAt(1)->Connect(&sink->pin, nullptr) == S_OK);
    for (Filter* each : {static_cast<Filter*>(sink.get()), static_cast<Filter*>(grabber.get()),
                         static_cast<Filter*>(source.get())}) {
        REQUIRE(each->Run(0) == S_OK);
    }
    CHECK(source->Push(1) == S_OK);
    grabber->SetCallback(Keep);
    CHECK(source->Push(2) == S_OK);
    grabber->SetCallback(KeepNothing);
    CHECK(source->Push(3) == S_OK);
    CHECK(sink->pin.marks == std::vector<BYTE>{1, 2, 3});
    REQUIRE(frames.size() == 1);
    CHECK(frames[0].data == sink->pin.buffers[1]);
    CHECK(frames[0].width == 64);

    // A new format in mid-stream is the geometry from that frame on.
    grabber->SetCallback(Keep);
    MediaType larger = VideoType(MEDIASUBTYPE_RGB555, 80, 60, 16);
    CHECK(source->Push(4, [&](IMediaSample& sample) { sample.SetMediaType(&larger); }) == S_OK);
    CHECK(frames.back().width == 80);
    for (Filter* each : {static_cast<Filter*>(sink.get()), static_cast<Filter*>(grabber.get()),
                         static_cast<Filter*>(source.get())}) {
        each->Stop();
    }
}

TEST_CASE("the grabber is created with no reference and offers its control interface") {
    const NoLeaks noLeaks;
    HRESULT result = S_FALSE;
    ComObject* object = still::CreateSampleGrabber(nullptr, &result);
    REQUIRE(object);
    CHECK(result == S_FALSE);                                                    // touched on a failure only
    CHECK(CountOf(still::CreateSampleGrabber(nullptr, nullptr)->Inner()) == 0);  // gone again

    ComPtr<ISampleGrabberControl> control;
    REQUIRE(object->NonDelegatingQueryInterface(__uuidof(ISampleGrabberControl), control.putVoid()) == S_OK);
    CHECK(CountOf(control.get()) == 1);
    ComPtr<IBaseFilter> filter;
    REQUIRE(control.QueryTo(filter) == S_OK);
    CLSID id = {};
    CHECK(filter->GetClassID(&id) == S_OK);
    CHECK(id == kClsidSampleGrabber);
    FILTER_INFO info = {};
    CHECK(filter->QueryFilterInfo(&info) == S_OK);
    CHECK(std::wstring(info.achName) == L"SampleGrabber");
    CHECK(control->GetGeometry(nullptr) == E_POINTER);
    CHECK(control->GetInputMediaType(nullptr) == E_POINTER);
}
