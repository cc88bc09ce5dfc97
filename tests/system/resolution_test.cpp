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
    REQUIRE(cam().GetResolutionCount(&count) == camOk);
    REQUIRE(count > 5);
    long height = 0, width = 0;
    CHECK(cam().GetResolutionDimensions(&height, &width, count) == camInvalidArgument);
    CHECK(cam().GetResolutionDimensions(&height, &width, -2) == camInvalidArgument);

    REQUIRE(cam().StartPreview() == camOk);
    cam().RegisterStillImageCallback(CatchStill);
    const int changes = getenv("OCELLUS_SOAK") ? kSoakChanges : count;
    Holdings halfway = {};
    for (int change = 0; change < changes; ++change) {
        const int index = change % count;
        CAPTURE(index);
        if (change == changes / 2) halfway = CountHoldings();
        const Deadline deadline("set a resolution", 20000);
        const ULONGLONG started = GetTickCount64();
        REQUIRE(cam().SetResolution(index) == camOk);
        CHECK(GetTickCount64() - started <= kLongestChangeMs);
        CHECK(cam().State() == CAM_STATE_PREVIEWING);
        CHECK(cam().GetResolutionDimensions(&height, &width, index) == camOk);
        long currentHeight = 0, currentWidth = 0;
        CHECK(cam().GetResolutionDimensions(&currentHeight, &currentWidth, -1) == camOk);
        CHECK(((currentHeight == height) && (currentWidth == width) && (height > 0)));

        stillFrames.Reset();
        REQUIRE(cam().SnapPicture(nullptr, 0) == camOk);
        REQUIRE(camera.windows.WaitForCaptured(change + 1));
        REQUIRE(stillFrames.frames().size() == 1);
        const Frame& frame = stillFrames.frames()[0];
        CHECK(((abs(frame.height) == height) && (frame.width == width)));
        CHECK(ShowsChart(frame, Layout::kRgb565));
    }
    if (changes > count) {
        CAPTURE(Describe(halfway));
        CAPTURE(Describe(CountHoldings()));
        CHECK(HoldingsReturnTo(halfway));
    }
    const LONG frames = deviceKit().PreviewFrames();
    CHECK(PumpUntil([=] { return deviceKit().PreviewFrames() > frames; }));
    cam().RegisterStillImageCallback(nullptr);
    CHECK(TakeMessageBoxes().empty());
}

TEST_CASE("an index that does not exist is refused with a box, and preview goes on") {
    Camera camera;
    REQUIRE(cam().StartPreview() == camOk);
    TakeMessageBoxes();
    int count = 0;
    cam().GetResolutionCount(&count);
    for (const int index : {count, -1, -2}) {
        CHECK(cam().SetResolution(index) == camInvalidArgument);
        CHECK(TakeMessageBoxes() == Boxes{tables::kNotSetBox});
        CHECK(cam().State() == CAM_STATE_PREVIEWING);
    }
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
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
            REQUIRE(cam().StartPreview() == camOk);
            if (!previewing) REQUIRE(cam().StopPreview() == camOk);
            CHECK(cam().SetResolution(2) == camInvalidArgument);
            CHECK(TakeMessageBoxes() == c.boxes);
            CHECK(cam().State() == (previewing ? CAM_STATE_PREVIEWING : CAM_STATE_STOPPED));

            CHECK(cam().SetResolution(0) == camOk);
            CHECK(TakeMessageBoxes().empty());
            if (!previewing) REQUIRE(cam().StartPreview() == camOk);
            stillFrames.Reset();
            cam().RegisterStillImageCallback(CatchStill);
            CHECK(cam().SnapPicture(nullptr, 0) == camOk);
            CHECK(camera.windows.WaitForCaptured(1));
            cam().RegisterStillImageCallback(nullptr);
            CHECK(stillFrames.frames()[0].width == 320);
        }
    }
}
