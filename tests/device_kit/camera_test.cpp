// The camera in a running graph. The library's own tests see every still format and the converter to the
// desktop's renderer through it.
#include "device_kit/test_graph.h"

#include <doctest/doctest.h>

#include "scene/chart_reader.h"
#include "properties.h"

namespace {

using namespace kit;
using namespace kit::test;

const Apartment apartment;

}  // namespace

TEST_CASE("preview shows the chart without time stamps, and a property that is set while the camera runs") {
    constexpr int kRounding = 9;
    kitReset();
    {
        Graph graph;
        REQUIRE(graph.Build() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(3));
        const Frames::Frame early = graph.previewFrames.Last();
        const Format format{Layout::Rgb555, 640, 480, false};
        REQUIRE(early.bytes.size() == static_cast<std::size_t>(format.SampleSize()));
        CHECK(ShowsChart(early.bytes, format, kRounding));
        CHECK_FALSE(early.stamped);

        ComPtr<IAMVideoProcAmp> amp;
        REQUIRE(graph.camera.QueryTo(amp) == S_OK);
        REQUIRE(amp->Set(kColorEnable, 0, kFlagManual) == S_OK);
        CHECK(amp->Set(kColorEnable, 2, kFlagManual) == E_INVALIDARG);
        // The frame in hand may still be the old one.
        REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 2));
        REQUIRE(SUCCEEDED(graph.Stop()));
        const Frames::Frame late = graph.previewFrames.Last();
        CHECK(IsNear(PixelAt(late.bytes, format, 2, 2), Rgb(77, 77, 77), kRounding));
        CHECK(FrameNumber(late.bytes, format) > FrameNumber(early.bytes, format));
        // The kit counts a frame when it has been taken, and the stop refused the one on its way.
        CHECK(kitPreviewFrames() + 1 >= static_cast<LONG>(graph.previewFrames.Count()));
        CHECK(kitPreviewFrames() <= static_cast<LONG>(graph.previewFrames.Count()));
        CHECK(kitStillPictures() == 0);
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
        CHECK(kitStillPictures() == 5);
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
