#include <doctest/doctest.h>

#include <windows.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>

#include "filter_base/test_filters.h"
#include "refused_call.h"
#include "still/still_image_sink.h"
#include "test_files.h"

using namespace cam;
using namespace cam::test;
using still::StillImageSinkFilter;

namespace {
constexpr LONG kWidth = 64;
constexpr LONG kHeight = 48;
constexpr long kFrameBytes = kWidth * kHeight * 2;
constexpr WORD kPixel = 0x1234;

struct Picture {
    void* data;
    DWORD size;
    LONG height, width;
    DWORD stride;
};
std::vector<Picture> pictures;
std::function<void()> onPicture;

void WINAPI Keep(void* data, DWORD size, LONG height, LONG width, DWORD stride) {
    pictures.push_back({data, size, height, width, stride});
    if (onPicture) onPicture();
}

// A sink whose type has been agreed upon, in a graph that takes its events, and one frame.
struct Sink {
    Held<StillImageSinkFilter, IUnknown*> filter{nullptr};
    Held<FakeGraph> graph;
    UniqueHandle saved{CreateEventW(nullptr, FALSE, FALSE, kSavedEventName)};
    std::vector<WORD> frame = std::vector<WORD>(kWidth * kHeight, kPixel);
    Held<FakeSample, BYTE*, long> sample{reinterpret_cast<BYTE*>(frame.data()), kFrameBytes};

    explicit Sink(LONG height = kHeight) {
        pictures.clear();
        onPicture = nullptr;
        ResetEvent(saved.get());
        DeletePictures();
        filter->JoinFilterGraph(graph.get(), nullptr);
        REQUIRE(filter->SetMediaType(VideoType(MEDIASUBTYPE_RGB565, kWidth, height, 16)) == S_OK);
        filter->SetCallback(Keep);
    }
    ~Sink() {
        filter->JoinFilterGraph(nullptr, nullptr);
        onPicture = nullptr;
        DeletePictures();
    }
    static void DeletePictures() {
        for (const wchar_t* name : {L"sink_a.bmp", L"sink_b.bmp"}) DeleteFileW(name);
    }
    HRESULT Render() { return filter->DoRenderSample(sample.get()); }
    bool WasSaved() { return WaitForSingleObject(saved.get(), 0) == WAIT_OBJECT_0; }
    bool IsUntouched() {
        return std::all_of(frame.begin(), frame.end(), [](WORD pixel) { return pixel == kPixel; });
    }
    HBITMAP Bitmap() {
        HBITMAP bitmap = nullptr;
        CHECK(filter->GetBitmap(&bitmap) == S_OK);
        return bitmap;
    }
    HRESULT SetText(const wchar_t* text, UINT_PTR length, UINT_PTR position = 0) {
        // A white box with black text and no outline.
        return filter->SetText(reinterpret_cast<UINT_PTR>(text), length, position, 0x4F000000,
                               reinterpret_cast<UINT_PTR>(GetStockObject(SYSTEM_FONT)));
    }
};
}  // namespace

TEST_CASE("the sink takes YUY2 and RGB565; how it is described counts only once agreed upon") {
    const NoLeaks noLeaks;
    struct Row {
        std::string what;
        GUID major, sub, format;
        ULONG formatSize;
        bool hasBlock;
        HRESULT check, set;
    };
    for (const Row& row : {
             Row{"YUY2", MEDIATYPE_Video, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo, 88, true, S_OK, S_OK},
             Row{"RGB565", MEDIATYPE_Video, MEDIASUBTYPE_RGB565, FORMAT_VideoInfo, 88, true, S_OK, S_OK},
             Row{"with masks", MEDIATYPE_Video, MEDIASUBTYPE_RGB565, FORMAT_VideoInfo, 100, true, S_OK, S_OK},
             Row{"one byte short", MEDIATYPE_Video, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo, 87, true, S_OK,
                 E_FAIL},
             Row{"no block", MEDIATYPE_Video, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo, 88, false, S_OK, E_FAIL},
             Row{"other format", MEDIATYPE_Video, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo2, 88, true, S_OK,
                 E_FAIL},
             Row{"RGB555", MEDIATYPE_Video, MEDIASUBTYPE_RGB555, FORMAT_VideoInfo, 88, true, E_FAIL, E_FAIL},
             Row{"audio", MEDIATYPE_Audio, MEDIASUBTYPE_YUY2, FORMAT_VideoInfo, 88, true, E_FAIL, E_FAIL},
         }) {
        CAPTURE(row.what);
        const Held<StillImageSinkFilter, IUnknown*> sink(nullptr);
        const Held<TestSource> source;
        MediaType type = VideoType(row.sub, 160, 120, 16, row.formatSize);
        type.majortype = row.major;
        type.formattype = row.format;
        BYTE* block = type.pbFormat;
        if (!row.hasBlock) type.pbFormat = nullptr;
        CHECK(sink->CheckMediaType(type) == row.check);
        CHECK(sink->SetMediaType(type) == row.set);
        type.pbFormat = block;

        if (!row.hasBlock) continue;
        source->pin.types.emplace_back();
        source->pin.types[0].CopyFrom(type);
        CHECK(SUCCEEDED(source->pin.Connect(sink->PinAt(0), nullptr)) == (row.set == S_OK));
        source->pin.Disconnect();
        sink->PinAt(0)->Disconnect();
    }
}

TEST_CASE("file names are judged by their extension, and a refused one is forgotten with the one before") {
    const NoLeaks noLeaks;
    for (const auto& [name, expected] : {
             std::pair<const wchar_t*, HRESULT>{L"a.bmp", S_OK},
             {L"a.Jpg", S_OK},
             {L"dir.x\\a.PNG", S_OK},
             {L"a.b.tif", S_OK},
             {nullptr, S_OK},
             {L"a.jpeg", kBadFileName},
             {L"a", kBadFileName},
             {L"", kBadFileName},
             {L"a.jpg ", kBadFileName},
             {L"dir.bmp\\file", kBadFileName},
             {L"a.bmpx", kBadFileName},
         }) {
        const std::wstring shown = name ? name : L"(null)";
        CAPTURE(std::string(shown.begin(), shown.end()));
        Sink sink;
        REQUIRE(sink.filter->SetFileName(L"sink_a.bmp") == S_OK);
        CHECK(sink.filter->SetFileName(name) == expected);
        if (expected == S_OK && name) continue;
        CHECK(sink.Render() == S_OK);
        CHECK(pictures.size() == 1);
        CHECK_FALSE(FileExists(L"sink_a.bmp"));
        CHECK(sink.WasSaved());
        CHECK(sink.graph->events.size() == 1);
    }
}

TEST_CASE("a picture: bitmap, callback, file, named event, graph event, in this order") {
    const NoLeaks noLeaks;
    for (const LONG height : {kHeight, -kHeight}) {
        CAPTURE(height);
        Sink sink(height);
        REQUIRE(sink.filter->SetFileName(L"sink_a.bmp") == S_OK);
        CHECK(sink.filter->GetBitmap(nullptr) == E_POINTER);
        CHECK(sink.Bitmap() == nullptr);
        std::string order;
        onPicture = [&] {
            order += sink.Bitmap() ? "bitmap " : "";
            order += !FileExists(L"sink_a.bmp") && !sink.WasSaved() && sink.graph->events.empty()
                         ? "callback "
                         : "";
        };
        sink.graph->onEvent = [&](long) {
            order += FileExists(L"sink_a.bmp") ? "file " : "";
            order += sink.WasSaved() ? "event " : "";
            order += "graph";
        };
        CHECK(sink.Render() == S_OK);
        CHECK(order == "bitmap callback file event graph");

        REQUIRE(pictures.size() == 1);
        CHECK(pictures[0].data == sink.frame.data());
        CHECK(pictures[0].size == kFrameBytes);
        CHECK(pictures[0].height == height);
        CHECK(pictures[0].width == kWidth);
        CHECK(pictures[0].stride == kWidth * 2);
        REQUIRE(sink.graph->events.size() == 1);
        CHECK(sink.graph->events[0].code == 257);
        CHECK(sink.graph->events[0].parameter1 == 0);
        CHECK(sink.graph->events[0].parameter2 == 0);
        CHECK_FALSE(sink.WasSaved());  // one waiter for each picture
    }
}

TEST_CASE("the bitmap shows the picture, and the next picture replaces it") {
    const NoLeaks noLeaks;
    Sink sink;
    for (size_t i = 0; i < sink.frame.size(); ++i) sink.frame[i] = static_cast<WORD>(i * 37);
    const std::vector<WORD> first = sink.frame;
    REQUIRE(sink.Render() == S_OK);
    const HBITMAP bitmap = sink.Bitmap();
    BITMAP shape = {};
    REQUIRE(GetObjectW(bitmap, sizeof shape, &shape) != 0);
    CHECK(shape.bmWidth == kWidth);
    CHECK(shape.bmHeight == kHeight);
    CHECK(shape.bmBitsPixel == 16);
    std::vector<WORD> pixels(sink.frame.size());
    CHECK(GetBitmapBits(bitmap, kFrameBytes, pixels.data()) == kFrameBytes);
    CHECK(pixels == first);

    std::fill(sink.frame.begin(), sink.frame.end(), kPixel);
    REQUIRE(sink.Render() == S_OK);
    REQUIRE(sink.Bitmap());
    CHECK(GetBitmapBits(sink.Bitmap(), kFrameBytes, pixels.data()) == kFrameBytes);
    CHECK(pixels == sink.frame);
}

TEST_CASE("of all bitmaps only the last one lives, and it goes with the sink") {
    const NoLeaks noLeaks;
    std::vector<HBITMAP> seen;
    const auto alive = [&] {
        std::sort(seen.begin(), seen.end());
        seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
        BITMAP shape = {};
        return std::count_if(seen.begin(), seen.end(),
                             [&](HBITMAP bitmap) { return GetObjectW(bitmap, sizeof shape, &shape) != 0; });
    };
    {
        Sink sink;
        for (int i = 0; i < 20; ++i) {
            REQUIRE(sink.Render() == S_OK);
            seen.push_back(sink.Bitmap());
        }
        CHECK(alive() == 1);
    }
    CHECK(alive() == 0);
}

TEST_CASE(
    "a sample that cannot be read leaves everything as it is; one that is too short is a failed picture") {
    const NoLeaks noLeaks;
    Sink sink;
    REQUIRE(sink.filter->SetFileName(L"sink_a.bmp") == S_OK);
    CHECK(sink.filter->DoRenderSample(nullptr) == E_FAIL);
    sink.sample->pointerResult = E_ACCESSDENIED;
    CHECK(sink.Render() == E_ACCESSDENIED);
    CHECK_FALSE(sink.WasSaved());
    CHECK(sink.graph->events.empty());

    sink.sample->pointerResult = S_OK;
    sink.sample->size = kFrameBytes - 1;
    CHECK(sink.Render() == E_FAIL);
    CHECK(sink.WasSaved());
    CHECK(sink.graph->events.size() == 1);
    CHECK(pictures.empty());
    CHECK_FALSE(FileExists(L"sink_a.bmp"));
    CHECK(sink.Bitmap() == nullptr);

    struct Row {
        std::string what;
        LONG width, height;
        WORD bits;
    };
    // Types whose frames the sample does not hold.
    for (const Row& row :
         {Row{"most rows", kWidth, std::numeric_limits<LONG>::min(), 16},
          Row{"widest", std::numeric_limits<LONG>::max(), 1, 16}, Row{"width below 0", -kWidth, kHeight, 16},
          Row{"rows that overlap", kWidth, kHeight + 1, 8},
          Row{"one row that is too short", kWidth * kHeight + 2, 1, 8}}) {
        CAPTURE(row.what);
        MediaType type = VideoType(MEDIASUBTYPE_YUY2, 2, 2, row.bits);
        auto* info = reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat);
        info->bmiHeader.biWidth = row.width;
        info->bmiHeader.biHeight = row.height;
        REQUIRE(sink.filter->SetMediaType(type) == S_OK);
        sink.sample->size = kFrameBytes;
        CHECK(sink.Render() == E_FAIL);
        CHECK(sink.IsUntouched());
    }
}

TEST_CASE("a failed write is not reported, and completion still is") {
    const NoLeaks noLeaks;
    Sink sink;
    REQUIRE(sink.filter->SetFileName(L"no such folder\\sink.bmp") == S_OK);
    CHECK(sink.Render() == S_OK);
    CHECK(sink.WasSaved());
    CHECK(sink.graph->events.size() == 1);
}

TEST_CASE("the file name and the quality level last, the text serves one picture") {
    const NoLeaks noLeaks;
    Sink sink;
    REQUIRE(sink.filter->SetFileName(L"sink_a.bmp") == S_OK);
    CHECK(sink.filter->SetQualityLevel(0x102) == S_OK);
    REQUIRE(sink.SetText(L"Ag and more", 2) == S_OK);
    REQUIRE(sink.Render() == S_OK);
    CHECK_FALSE(sink.IsUntouched());
    REQUIRE(DeleteFileW(L"sink_a.bmp"));
    std::fill(sink.frame.begin(), sink.frame.end(), kPixel);
    REQUIRE(sink.Render() == S_OK);
    CHECK(sink.IsUntouched());
    CHECK(FileExists(L"sink_a.bmp"));
}

TEST_CASE("SetText takes a text away when there is none, no length, or no memory") {
    const NoLeaks noLeaks;
    constexpr UINT_PTR kMost = std::numeric_limits<UINT_PTR>::max();
    for (const auto& [text, length, expected] :
         {std::tuple<const wchar_t*, UINT_PTR, HRESULT>{nullptr, 3, S_OK},
          {L"Ag", 0, S_OK},
          {L"Ag", kMost, E_OUTOFMEMORY},
          {L"Ag", kMost / 2, E_OUTOFMEMORY},
          {L"Ag", kMost / 4, E_OUTOFMEMORY}}) {
        CAPTURE(length);
        Sink sink;
        REQUIRE(sink.SetText(L"Ag", 2) == S_OK);
        CHECK(sink.SetText(text, length) == expected);
        REQUIRE(sink.Render() == S_OK);
        CHECK(sink.IsUntouched());
    }
}

TEST_CASE("a text that cannot be stamped stays for the next picture") {
    const NoLeaks noLeaks;
    Sink sink;
    REQUIRE(sink.SetText(L"Ag", 2, 3) == S_OK);  // no such position
    REQUIRE(sink.Render() == S_OK);
    CHECK(sink.IsUntouched());
    REQUIRE(sink.SetText(L"Ag", 2, 0) == S_OK);
    REQUIRE(sink.Render() == S_OK);
    CHECK_FALSE(sink.IsUntouched());
}

TEST_CASE("what is set while a picture is rendered is meant for the next one") {
    const NoLeaks noLeaks;
    Sink sink;
    REQUIRE(sink.filter->SetFileName(L"sink_a.bmp") == S_OK);
    onPicture = [&] {
        CHECK(sink.filter->SetFileName(L"sink_b.bmp") == S_OK);
        CHECK(sink.SetText(L"Ag", 2) == S_OK);
    };
    REQUIRE(sink.Render() == S_OK);
    CHECK(sink.IsUntouched());
    CHECK(FileExists(L"sink_a.bmp"));
    CHECK_FALSE(FileExists(L"sink_b.bmp"));
    onPicture = nullptr;
    REQUIRE(sink.Render() == S_OK);
    CHECK_FALSE(sink.IsUntouched());
    CHECK(FileExists(L"sink_b.bmp"));
}

TEST_CASE("the sink says what a registration needs, and offers its control interface") {
    const NoLeaks noLeaks;
    const Held<StillImageSinkFilter, IUnknown*> sink(nullptr);
    const FilterSetup* setup = sink->GetSetupData();
    REQUIRE(setup);
    CHECK(std::wstring(setup->name) == L"StillImageSink");
    CHECK(setup->merit == 0x00800000);
    CHECK(setup->pinCount == 1);
    ComPtr<IStillImageSinkControl> control;
    REQUIRE(sink->QueryInterface(__uuidof(IStillImageSinkControl), control.putVoid()) == S_OK);
    FILTER_INFO info = {};
    REQUIRE(sink->QueryFilterInfo(&info) == S_OK);
    CHECK(std::wstring(info.achName).empty());
    CLSID id = {};
    CHECK(sink->GetClassID(&id) == S_OK);
    CHECK(id == kClsidStillImageSink);
}

TEST_CASE("a sink that could not be told to stop waiting is not made; its named event it can do without") {
    const LONG before = filter_base::LiveObjects();
    for (int events = 0; events < 4; ++events) {
        const RefusedEvent refusal(events);
        HRESULT result = S_OK;
        filter_base::ComObject* const sink = still::CreateStillImageSink(nullptr, &result);
        CHECK((sink != nullptr) == (events == 3));
        CHECK(result == (events == 3 ? S_OK : E_OUTOFMEMORY));
        if (sink) const ComPtr<IUnknown> toDestroy(sink->Inner());
        CHECK(filter_base::LiveObjects() == before);
    }
}
