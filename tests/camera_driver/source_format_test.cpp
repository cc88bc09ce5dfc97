// What webcams' media types say, and that what makes no sense is passed over.
#include "platform/desktop/camera_driver/source_format.h"

#include <doctest/doctest.h>

#include <dvdmedia.h>

#include <cstring>
#include <functional>
#include <random>

using namespace cam::driver;
using cam::filter_base::MediaType;

namespace {

template <typename Header = VIDEOINFOHEADER>
MediaType TypeOf(const GUID& subtype, LONG width, LONG height) {
    MediaType type;
    auto* header = reinterpret_cast<Header*>(type.AllocateFormat(sizeof(Header)));
    header->bmiHeader.biWidth = width;
    header->bmiHeader.biHeight = height;
    header->AvgTimePerFrame = 333333;
    type.majortype = MEDIATYPE_Video;
    type.subtype = subtype;
    type.formattype = std::is_same_v<Header, VIDEOINFOHEADER> ? FORMAT_VideoInfo : FORMAT_VideoInfo2;
    return type;
}

SourceFormat FormatOf(Encoding encoding, std::uint32_t width, std::uint32_t height, LONGLONG frameTime) {
    return {{encoding, width, height, false}, frameTime, {}};
}

// Lists one format as often as it is asked.
class Capabilities final : public IAMStreamConfig {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* outCount, int* outSize) override {
        *outCount = count;
        *outSize = size;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int, AM_MEDIA_TYPE** out, BYTE* record) override {
        MediaType type = TypeOf(MEDIASUBTYPE_YUY2, 640, 480);
        WriteFrameTime(type, stated);
        VIDEO_STREAM_CONFIG_CAPS caps = {};
        caps.MinFrameInterval = least;
        caps.MaxFrameInterval = longest;
        std::memcpy(record, &caps, sizeof caps);
        *out = cam::filter_base::CreateMediaType(type);
        return S_OK;
    }

    int count = 1, size = sizeof(VIDEO_STREAM_CONFIG_CAPS);
    LONGLONG stated = 333333, least = 0, longest = 0;
};

}  // namespace

TEST_CASE("a list of capabilities is read as far as it makes sense") {
    const struct {
        int count, size;
        HRESULT result;
        size_t most;
    } lists[] = {{2, 128, S_OK, 2},
                 {2, 200, S_OK, 2},
                 {-1, 128, S_OK, 0},
                 {INT_MAX, 128, S_OK, 1000},
                 {1, 127, E_UNEXPECTED, 0},
                 {1, -1, E_UNEXPECTED, 0},
                 {1, INT_MAX, E_UNEXPECTED, 0}};
    for (const auto& list : lists) {
        CAPTURE(list.count);
        CAPTURE(list.size);
        Capabilities capabilities;
        capabilities.count = list.count;
        capabilities.size = list.size;
        std::vector<SourceFormat> formats;
        CHECK(ReadFormats(capabilities, formats) == list.result);
        CHECK(formats.size() == list.most);
    }
    // The shorter time beside the type counts if it is above 0, else the type's own.
    const struct {
        LONGLONG stated, least, longest, read;
    } times[] = {{333333, 0, 0, 333333},
                 {333333, 166666, 2000000, 166666},
                 {333333, 2000000, 166666, 166666},
                 {-5, 0, 0, 0},
                 {INT64_MIN, -1, 400000, 0}};
    for (const auto& time : times) {
        CAPTURE(time.stated);
        Capabilities capabilities;
        capabilities.stated = time.stated;
        capabilities.least = time.least;
        capabilities.longest = time.longest;
        std::vector<SourceFormat> formats;
        REQUIRE(ReadFormats(capabilities, formats) == S_OK);
        CHECK(formats.front().frameTime == time.read);
    }
}

TEST_CASE("the height's sign counts for RGB alone, and both kinds of block are read") {
    CHECK(ReadShape(TypeOf(MEDIASUBTYPE_YUY2, 640, 480)) == SourceShape{Encoding::Yuy2, 640, 480, false});
    CHECK(ReadShape(TypeOf(MEDIASUBTYPE_YUY2, 640, -480)) == SourceShape{Encoding::Yuy2, 640, 480, false});
    CHECK(ReadShape(TypeOf(MEDIASUBTYPE_RGB24, 640, 480)) == SourceShape{Encoding::Rgb24, 640, 480, true});
    CHECK(ReadShape(TypeOf(MEDIASUBTYPE_RGB32, 640, -480)) == SourceShape{Encoding::Rgb32, 640, 480, false});
    const MediaType longer = TypeOf<VIDEOINFOHEADER2>(MEDIASUBTYPE_MJPG, 1280, 720);
    CHECK(ReadShape(longer) == SourceShape{Encoding::Mjpg, 1280, 720, false});
    CHECK(ReadFrameTime(longer) == 333333);
}

TEST_CASE("blocks that are cut off or make no sense are refused") {
    const std::function<void(MediaType&)> faults[] = {
        [](MediaType& type) { type.cbFormat = sizeof(VIDEOINFOHEADER) - 1; },
        [](MediaType& type) { type.formattype = FORMAT_VideoInfo2; },
        [](MediaType& type) { type.formattype = FORMAT_MPEGVideo; },
        [](MediaType& type) { type.majortype = MEDIATYPE_Audio; },
        [](MediaType& type) { type.subtype = MEDIASUBTYPE_RGB8; },
        [](MediaType& type) { reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader.biWidth = 0; },
        [](MediaType& type) { reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader.biWidth = -640; },
        [](MediaType& type) { reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader.biHeight = 0; },
        [](MediaType& type) {
            reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader.biHeight = LONG_MIN;
        },
        [](MediaType& type) {
            reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader.biWidth = LONG_MAX;
        }};
    for (const auto& fault : faults) {
        MediaType type = TypeOf(MEDIASUBTYPE_YUY2, 640, 480);
        REQUIRE(ReadShape(type));
        fault(type);
        CHECK_FALSE(ReadShape(type));
    }
    // Whatever stands in a block, what is understood has a size that fits in memory.
    std::minstd_rand random;
    for (int round = 0; round < 20000; ++round) {
        MediaType type = TypeOf(round % 2 ? MEDIASUBTYPE_YUY2 : MEDIASUBTYPE_RGB24, 640, 480);
        for (int i = 0; i < 6; ++i) type.pbFormat[48 + random() % 40] = static_cast<BYTE>(random() >> 8);
        if (const auto shape = ReadShape(type)) CHECK(shape->FrameBytes() <= 4ull * 16384 * 16384);
    }
}

TEST_CASE("of a size the highest useful rate wins, then what is the least work") {
    std::vector<SourceFormat> formats;
    formats.push_back(FormatOf(Encoding::Yuy2, 1280, 720, 1'000'000));
    formats.push_back(FormatOf(Encoding::Mjpg, 1280, 720, 166'666));
    formats.push_back(FormatOf(Encoding::Mjpg, 640, 480, 166'666));
    formats.push_back(FormatOf(Encoding::Nv12, 640, 480, 333'667));
    formats.push_back(FormatOf(Encoding::Yuy2, 640, 480, 333'333));
    CHECK(SizesOf(formats) == std::vector<PictureSize>{{1280, 720}, {640, 480}});
    CHECK(BestFormat(formats, {1280, 720}) == &formats[1]);
    CHECK(BestFormat(formats, {640, 480}) == &formats[4]);
    CHECK(BestFormat(formats, {320, 240}) == nullptr);
    CHECK(PreviewSize({{1280, 720}, {800, 600}, {352, 288}}) == PictureSize{800, 600});
}
