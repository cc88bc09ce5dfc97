#include <doctest/doctest.h>

#include "frames.h"
#include "harness.h"
#include "tables/platform_calls.h"

namespace {

constexpr camResult kNoMoreFiles = static_cast<camResult>(0x80070012);  // ERROR_NO_MORE_FILES

const HANDLE stillMayGo = CreateEventW(nullptr, TRUE, FALSE, nullptr);

void WINAPI HoldStill(void*, DWORD, LONG, LONG, DWORD) {
    WaitForSingleObject(stillMayGo, kLongEnough);
}

}  // namespace

TEST_CASE("the camera goes through its states") {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    CHECK(State() == CAM_STATE_INITIALISED);
    CHECK(camStopPreview() == camOk);
    CHECK(State() == CAM_STATE_INITIALISED);
    CHECK(camSnapPicture(nullptr, 0) == camCaptureFailed);  // preview has not run yet
    CHECK(State() == CAM_STATE_INITIALISED);

    CHECK(camStartPreview() == camOk);
    CHECK(State() == CAM_STATE_PREVIEWING);
    CHECK(kitCallCount(L"IBaseFilter::Run") == 1);
    CHECK(camStartPreview() == camOk);
    CHECK(kitCallCount(L"IBaseFilter::Run") == 1);

    // While the picture is on its way the state says so.
    ResetEvent(stillMayGo);
    camRegisterStillImageCallback(HoldStill);
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    CHECK(State() == CAM_STATE_STILL_TRIGGERED);
    CHECK(camera.windows.captured() == 0);
    SetEvent(stillMayGo);
    CHECK(camera.windows.WaitForCaptured(1));
    CHECK(State() == CAM_STATE_PREVIEWING);
    camRegisterStillImageCallback(nullptr);

    CHECK(camStopPreview() == camOk);
    CHECK(State() == CAM_STATE_STOPPED);
    CHECK(camStopPreview() == camOk);

    // A trigger while preview is stopped is taken, and answered when frames flow again.
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    CHECK(State() == CAM_STATE_STILL_TRIGGERED);
    CHECK(camStartPreview() == camOk);
    CHECK(camera.windows.WaitForCaptured(2));
    CHECK(State() == CAM_STATE_PREVIEWING);

    CHECK(camShutDown() == camOk);
    CHECK(State() == -1);
    CHECK(camShutDown() == camNotInitialised);
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("a camera can be shut down and selected away in every state") {
    const Windows windows;
    struct Case {
        const char* name;
        bool preview, stop, still;
    };
    for (const Case& c : {Case{"initialised", false, false, false},
                          {"previewing", true, false, false},
                          {"stopped", true, true, false},
                          {"still triggered while previewing", true, false, true},
                          {"still triggered while stopped", true, true, true}}) {
        for (const bool selectAway : {false, true}) {
            CAPTURE(c.name);
            CAPTURE(selectAway);
            const Deadline deadline(c.name);
            Play(L"{}");
            REQUIRE(camInit(windows.owner(), nullptr, nullptr) == camOk);
            if (c.preview) CHECK(camStartPreview() == camOk);
            if (c.stop) CHECK(camStopPreview() == camOk);
            if (c.still) CHECK(camSnapPicture(nullptr, 0) == camOk);
            if (selectAway) {
                CHECK(camSelect(windows.owner(), nullptr, nullptr, 7) == camNotInitialised);
                int type = 0;
                camGetSelectedType(&type);
                CHECK(type == 7);
            } else {
                CHECK(camShutDown() == camOk);
            }
            CHECK(State() == -1);
            CHECK(kitLiveObjects() == 0);
        }
    }
}

TEST_CASE("without an owner window preview runs in the renderer's own") {
    Play(L"{}");
    const Deadline deadline("no owner window");
    REQUIRE(camInit(nullptr, nullptr, nullptr) == camOk);
    previewFrames.Reset();
    camRegisterPreviewCallback(CatchPreview);
    CHECK(camStartPreview() == camOk);
    CHECK(PumpUntil([] { return previewFrames.count() > 0; }));
    CHECK(camStopPreview() == camOk);
    CHECK(State() == CAM_STATE_STOPPED);
    camRegisterPreviewCallback(nullptr);
    CHECK(camShutDown() == camOk);
}

TEST_CASE("without a camera driver nothing comes up, and that quickly") {
    Camera camera(LR"({"devices": []})");
    CHECK(camera.initResult == kNoMoreFiles);
    const Deadline deadline("no driver");
    CHECK(State() == CAM_STATE_NONE);  // the graph has got as far as its media control
    CHECK(camStartPreview() != camOk);
    CHECK(camStopPreview() == camOk);
    CHECK(camSnapPicture(nullptr, 0) == camCaptureFailed);
    long value = 0, flags = 0;
    CHECK(camGetProperty(0, &value, &flags) == camInvalidArgument);
    CHECK(camSetResolution(0) == camOk);  // there is no still branch to change
    CHECK(camRegisterPreviewCallback(CatchPreview) == camOk);
    CHECK(camRegisterPreviewCallback(nullptr) == camOk);
    HBITMAP bitmap = nullptr;
    CHECK(camGetSnapshot(&bitmap) == camInvalidArgument);

    // The next selection cleans up and works.
    Play(L"{}");
    CHECK(camInit(camera.windows.owner(), nullptr, nullptr) == camOk);
    CHECK(camStartPreview() == camOk);
}

TEST_CASE("of two camera drivers the second is opened, further ones are not looked at") {
    for (const auto& [devices, opened] : {std::pair{L"[\"CAM1:\"]", L"CAM1:"},
                                          {L"[\"CAM1:\", \"CAM2:\"]", L"CAM2:"},
                                          {L"[\"CAM1:\", \"CAM2:\", \"CAM3:\"]", L"CAM2:"}}) {
        Camera camera(std::wstring(L"{\"devices\": ") + devices + L"}");
        REQUIRE(camera.initResult == camOk);
        CHECK(kitCallCount((std::wstring(L"IPersistPropertyBag::Load ") + opened).c_str()) == 1);
        CHECK(kitCallCount(L"IPersistPropertyBag::Load") == 1);
    }
}

TEST_CASE("properties reach the interface and the number that belong to their id") {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    for (const auto& [id, set, number] : tables::kProperties) {
        CAPTURE(id);
        long value = 0, flags = 0;
        camGetProperty(id, &value, &flags);
        const std::string call = std::string(set) + "::Get " + std::to_string(number);
        CHECK(kitCallCount(std::wstring(call.begin(), call.end()).c_str()) == 1);
    }
    long minimum = 0, maximum = 0, step = 0, initial = 0, flags = 0, value = 0;
    CHECK(camGetPropertyRange(CAM_PROPERTY_ZOOM, &minimum, &maximum, &step, &initial, &flags) == camOk);
    CHECK(((minimum == 1) && (maximum == 8) && (step == 1) && (initial == 1) && (flags == CAM_FLAG_MANUAL)));
    CHECK(camSetProperty(CAM_PROPERTY_ZOOM, 4, CAM_FLAG_MANUAL) == camOk);
    CHECK(camGetProperty(CAM_PROPERTY_ZOOM, &value, &flags) == camOk);
    CHECK(((value == 4) && (flags == CAM_FLAG_MANUAL)));
    CHECK(camSetProperty(CAM_PROPERTY_ZOOM, 9, CAM_FLAG_MANUAL) == camInvalidArgument);
    CHECK(camGetCameraID(&value) == camOk);
    CHECK(value == 1);
}
