// The camera in a running graph: frames, stills, formats.
#include "device_kit/test_graph.h"

#include <doctest/doctest.h>

#include "properties.h"
#include "scene/chart.h"

namespace {

using namespace kit;
using namespace kit::test;

const Apartment apartment;

// Judges the still parts of the chart; `tolerance` in steps of 0 to 255.
void CheckChart(const std::vector<BYTE>& frame, const Format& format, int tolerance) {
    const auto shows = [&](int column, int row, Pixel expected) {
        const Pixel seen =
            PixelAt(frame, format, chart::CellX(column, format.width), chart::CellY(row, format.height));
        CAPTURE(column);
        CAPTURE(row);
        CAPTURE(seen);
        CAPTURE(expected);
        CHECK(IsNear(seen, expected, tolerance));
    };
    shows(0, 0, chart::kTopLeft);
    shows(15, 0, chart::kTopRight);
    shows(0, 11, chart::kBottomLeft);
    shows(15, 11, chart::kBottomRight);
    for (int bar = 0; bar < 8; ++bar) shows(2 * bar, 3, chart::kBars[bar]);
    for (int column = 0; column < 16; ++column) shows(column, 6, chart::RampGrey(column));
}

unsigned FrameCounter(const std::vector<BYTE>& frame, const Format& format) {
    unsigned number = 0;
    for (int bit = 0; bit < chart::kCounterBits; ++bit) {
        const Pixel seen = PixelAt(frame, format, chart::CellX(chart::kCounterLeft + bit, format.width),
                                   chart::CellY(chart::kCounterTop, format.height));
        number = number << 1 | (Green(seen) > 127 ? 1 : 0);
    }
    return number;
}

constexpr int kRounding555 = 9;

}  // namespace

TEST_CASE("preview shows the chart, counts its frames and leaves no time stamps") {
    kitReset();
    {
        Graph graph;
        REQUIRE(graph.Build() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(3));
        const Frames::Frame early = graph.previewFrames.Last();
        REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 3));
        REQUIRE(SUCCEEDED(graph.Stop()));
        const Frames::Frame late = graph.previewFrames.Last();
        const Format format{Layout::Rgb555, 640, 480, false};
        REQUIRE(late.bytes.size() == static_cast<std::size_t>(format.SampleSize()));
        CheckChart(late.bytes, format, kRounding555);
        CHECK_FALSE(late.stamped);
        CHECK(FrameCounter(late.bytes, format) > FrameCounter(early.bytes, format));
        // The kit counts a frame when it has been taken, and the stop refused the one on its way.
        CHECK(kitPreviewFrames() + 1 >= static_cast<LONG>(graph.previewFrames.Count()));
        CHECK(kitPreviewFrames() <= static_cast<LONG>(graph.previewFrames.Count()));
        CHECK(kitStillPictures() == 0);
    }
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("the desktop's renderer connects through the colour converter") {
    kitReset();
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build(L"CAM1:", true)));
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(5));
        ComPtr<IBasicVideo> video;
        REQUIRE(graph.graph->QueryInterface(IID_IBasicVideo, video.putVoid()) == S_OK);
        LONG width = 0, height = 0;
        CHECK(video->GetVideoSize(&width, &height) == S_OK);
        CHECK(width == 640);
        CHECK(height == 480);
        REQUIRE(SUCCEEDED(graph.Stop()));
    }
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("every still format: one picture a trigger, the right way up") {
    kitReset();
    {
        Graph graph;
        REQUIRE(graph.Build() == S_OK);
        int count = 0, size = 0;
        REQUIRE(graph.stillConfig->GetNumberOfCapabilities(&count, &size) == S_OK);
        CHECK(size == 128);
        REQUIRE(count == 12);
        LONG pictures = 0;
        for (int index = 0; index < count; ++index) {
            CAPTURE(index);
            REQUIRE(graph.SetStillFormat(index) == S_OK);
            AM_MEDIA_TYPE* type = nullptr;
            REQUIRE(graph.stillConfig->GetFormat(&type) == S_OK);
            CHECK(type->cbFormat > 88);
            CHECK(type->formattype == FORMAT_VideoInfo);
            const auto* header = reinterpret_cast<const VIDEOINFOHEADER*>(type->pbFormat);
            CHECK(header->AvgTimePerFrame == 333333);
            const LONG height = header->bmiHeader.biHeight;
            const Format format{type->subtype == MEDIASUBTYPE_YUY2 ? Layout::Yuy2 : Layout::Rgb565,
                                static_cast<int>(header->bmiHeader.biWidth), height < 0 ? -height : height,
                                height < 0};
            CHECK(type->lSampleSize == static_cast<ULONG>(format.SampleSize()));
            cam::filter_base::DeleteMediaType(type);
            REQUIRE(SUCCEEDED(graph.Run()));
            REQUIRE(graph.TriggerStill() == S_OK);
            REQUIRE(graph.TriggerStill() == S_OK);
            pictures += 2;
            REQUIRE(graph.stillFrames.WaitFor(static_cast<std::size_t>(pictures)));
            // Long enough for the preview to show that the camera ran on, and that no further still came.
            REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 2));
            REQUIRE(SUCCEEDED(graph.Stop()));
            CHECK(graph.stillFrames.Count() == static_cast<std::size_t>(pictures));
            CHECK(kitStillPictures() == pictures);
            const Frames::Frame still = graph.stillFrames.Last();
            REQUIRE(still.bytes.size() == static_cast<std::size_t>(format.SampleSize()));
            CheckChart(still.bytes, format, format.layout == Layout::Yuy2 ? 4 : 9);
        }
    }
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("a property that is set while the camera runs shows in the frames") {
    kitReset();
    {
        Graph graph;
        REQUIRE(graph.Build() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        ComPtr<IAMVideoProcAmp> amp;
        REQUIRE(graph.camera.QueryTo(amp) == S_OK);
        REQUIRE(amp->Set(kColorEnable, 0, kFlagManual) == S_OK);
        // The frame in hand may still be the old one.
        REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 2));
        const Format format{Layout::Rgb555, 640, 480, false};
        CHECK(IsNear(PixelAt(graph.previewFrames.Last().bytes, format, 2, 2), Rgb(77, 77, 77), kRounding555));
        CHECK(amp->Set(kColorEnable, 2, kFlagManual) == E_INVALIDARG);
        REQUIRE(SUCCEEDED(graph.Stop()));
    }
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("the camera starts and stops again and again, and keeps a trigger until it runs") {
    kitReset();
    {
        Graph graph;
        REQUIRE(graph.Build() == S_OK);
        for (std::size_t round = 1; round <= 5; ++round) {
            REQUIRE(graph.TriggerStill() == S_OK);
            CHECK(graph.stillFrames.Count() == round - 1);
            REQUIRE(SUCCEEDED(graph.Run()));
            REQUIRE(graph.stillFrames.WaitFor(round));
            REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 1));
            FILTER_STATE state;
            REQUIRE(SUCCEEDED(graph.control->Pause()));
            CHECK(graph.camera->GetState(0, &state) == VFW_S_CANT_CUE);
            CHECK(state == State_Paused);
            REQUIRE(SUCCEEDED(graph.Stop()));
        }
        constexpr LONG kOtherMode = 4;
        CHECK(graph.videoControl->SetMode(graph.stillPin.get(), kOtherMode) == E_INVALIDARG);
        ComPtr<IPin> previewPin;
        REQUIRE(graph.builder->FindPin(graph.camera.get(), PINDIR_OUTPUT, &PIN_CATEGORY_PREVIEW, nullptr,
                                       FALSE, 0, previewPin.put()) == S_OK);
        CHECK(graph.videoControl->SetMode(previewPin.get(), 8) == E_INVALIDARG);
        // Let go while it runs: nothing may hang or be left over.
        REQUIRE(SUCCEEDED(graph.Run()));
    }
    CHECK(kitLiveObjects() == 0);
}
