#include <doctest/doctest.h>

#include <cstdlib>
#include <string>

#include "frames.h"
#include "harness.h"
#include "tables/platform_calls.h"

namespace {

using Boxes = std::vector<std::string>;

}  // namespace

// All of them once; with OCELLUS_SOAK set, over and over.
TEST_CASE("every resolution can be chosen while previewing, and a picture has it, and nothing is lost") {
    constexpr int kSoakChanges = 108;
    constexpr ULONGLONG kLongestChangeMs = 1000 + 500;  // 500 of them laid down as pauses
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    TakeMessageBoxes();
    int count = 0;
    REQUIRE(camGetResolutionCount(&count) == camOk);
    REQUIRE(count > 5);
    long height = 0, width = 0;
    CHECK(camGetResolutionDimensions(&height, &width, count) == camInvalidArgument);
    CHECK(camGetResolutionDimensions(&height, &width, -2) == camInvalidArgument);

    REQUIRE(camStartPreview() == camOk);
    camRegisterStillImageCallback(CatchStill);
    const int changes = getenv("OCELLUS_SOAK") ? kSoakChanges : count;
    Holdings halfway = {};
    for (int change = 0; change < changes; ++change) {
        const int index = change % count;
        CAPTURE(index);
        if (change == changes / 2) halfway = CountHoldings();
        const Deadline deadline("set a resolution", 20000);
        const ULONGLONG started = GetTickCount64();
        REQUIRE(camSetResolution(index) == camOk);
        CHECK(GetTickCount64() - started <= kLongestChangeMs);
        CHECK(State() == CAM_STATE_PREVIEWING);
        CHECK(camGetResolutionDimensions(&height, &width, index) == camOk);
        long currentHeight = 0, currentWidth = 0;
        CHECK(camGetResolutionDimensions(&currentHeight, &currentWidth, -1) == camOk);
        CHECK(((currentHeight == height) && (currentWidth == width) && (height > 0)));

        stillFrames.Reset();
        REQUIRE(camSnapPicture(nullptr, 0) == camOk);
        REQUIRE(camera.windows.WaitForCaptured(change + 1));
        REQUIRE(stillFrames.frames().size() == 1);
        const Frame& frame = stillFrames.frames()[0];
        CHECK(((abs(frame.height) == height) && (frame.width == width)));
        CHECK(frame.ShowsChart(kit::Layout::Rgb565));
    }
    if (changes > count) {
        CAPTURE(Describe(halfway));
        CAPTURE(Describe(CountHoldings()));
        CHECK(HoldingsReturnTo(halfway));
    }
    const LONG frames = kitPreviewFrames();
    CHECK(PumpUntil([=] { return kitPreviewFrames() > frames; }));
    camRegisterStillImageCallback(nullptr);
    CHECK(TakeMessageBoxes().empty());
}

TEST_CASE("an index that does not exist is refused with a box, and preview goes on") {
    Camera camera;
    REQUIRE(camStartPreview() == camOk);
    TakeMessageBoxes();
    int count = 0;
    camGetResolutionCount(&count);
    for (const int index : {count, -1, -2}) {
        CHECK(camSetResolution(index) == camInvalidArgument);
        CHECK(TakeMessageBoxes() == Boxes{tables::kNotSetBox});
        CHECK(State() == CAM_STATE_PREVIEWING);
    }
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    CHECK(camera.windows.WaitForCaptured(1));
}

TEST_CASE("every step of a change that fails is reported, and the next change heals") {
    TakeMessageBoxes();
    for (const tables::ChangeFault& c : tables::kChangeFaults) {
        for (const bool previewing : {false, true}) {
            CAPTURE(c.call);
            CAPTURE(previewing);
            Camera camera(L"{\"watchGraph\": true, \"calls\": {\"" +
                          std::wstring(c.call.begin(), c.call.end()) +
                          L"\": {\"at\": 1, \"result\": \"0x80004005\"}}}");
            REQUIRE(camera.initResult == camOk);
            REQUIRE(camStartPreview() == camOk);
            if (!previewing) REQUIRE(camStopPreview() == camOk);
            CHECK(camSetResolution(2) == camInvalidArgument);
            CHECK(TakeMessageBoxes() == c.boxes);
            CHECK(State() == (previewing ? CAM_STATE_PREVIEWING : CAM_STATE_STOPPED));

            CHECK(camSetResolution(0) == camOk);
            CHECK(TakeMessageBoxes().empty());
            if (!previewing) REQUIRE(camStartPreview() == camOk);
            stillFrames.Reset();
            camRegisterStillImageCallback(CatchStill);
            CHECK(camSnapPicture(nullptr, 0) == camOk);
            CHECK(camera.windows.WaitForCaptured(1));
            camRegisterStillImageCallback(nullptr);
            CHECK(stillFrames.frames()[0].width == 320);
        }
    }
}
