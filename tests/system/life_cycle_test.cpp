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
    CHECK(cam().State() == CAM_STATE_INITIALISED);
    CHECK(cam().StopPreview() == camOk);
    CHECK(cam().State() == CAM_STATE_INITIALISED);
    CHECK(cam().SnapPicture(nullptr, 0) == camCaptureFailed);  // preview has not run yet
    CHECK(cam().State() == CAM_STATE_INITIALISED);

    CHECK(cam().StartPreview() == camOk);
    CHECK(cam().State() == CAM_STATE_PREVIEWING);
    CHECK(deviceKit().CallCount(L"IBaseFilter::Run") == 1);
    CHECK(cam().StartPreview() == camOk);
    CHECK(deviceKit().CallCount(L"IBaseFilter::Run") == 1);

    // While the picture is on its way the state says so.
    ResetEvent(stillMayGo);
    cam().RegisterStillImageCallback(HoldStill);
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    CHECK(cam().State() == CAM_STATE_STILL_TRIGGERED);
    CHECK(camera.windows.captured() == 0);
    SetEvent(stillMayGo);
    CHECK(camera.windows.WaitForCaptured(1));
    CHECK(cam().State() == CAM_STATE_PREVIEWING);
    cam().RegisterStillImageCallback(nullptr);

    CHECK(cam().StopPreview() == camOk);
    CHECK(cam().State() == CAM_STATE_STOPPED);
    CHECK(cam().StopPreview() == camOk);

    // A trigger while preview is stopped is taken, and answered when frames flow again.
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    CHECK(cam().State() == CAM_STATE_STILL_TRIGGERED);
    CHECK(cam().StartPreview() == camOk);
    CHECK(camera.windows.WaitForCaptured(2));
    CHECK(cam().State() == CAM_STATE_PREVIEWING);

    CHECK(cam().ShutDown() == camOk);
    CHECK(cam().State() == -1);
    CHECK(cam().ShutDown() == camNotInitialised);
    CHECK(deviceKit().LiveObjects() == 0);
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
            deviceKit().Play(L"{}");
            REQUIRE(cam().Init(windows.owner(), nullptr, nullptr) == camOk);
            if (c.preview) CHECK(cam().StartPreview() == camOk);
            if (c.stop) CHECK(cam().StopPreview() == camOk);
            if (c.still) CHECK(cam().SnapPicture(nullptr, 0) == camOk);
            if (selectAway) {
                CHECK(cam().Select(windows.owner(), nullptr, nullptr, 7) == camNotInitialised);
                int type = 0;
                cam().GetSelectedType(&type);
                CHECK(type == 7);
            } else {
                CHECK(cam().ShutDown() == camOk);
            }
            CHECK(cam().State() == -1);
            CHECK(deviceKit().LiveObjects() == 0);
        }
    }
}

TEST_CASE("the imager takes the place of a camera that is previewing") {
    Camera camera;
    REQUIRE(cam().StartPreview() == camOk);
    const Deadline deadline("select the imager");
    cam().Select(camera.windows.owner(), nullptr, nullptr, CAM_TYPE_IMAGER);
    CHECK(deviceKit().LiveObjects() == 0);
    int type = 0;
    cam().GetSelectedType(&type);
    CHECK(type == CAM_TYPE_IMAGER);
    CHECK(cam().ShutDown() == camOk);
}

TEST_CASE("without an owner window preview runs in the renderer's own") {
    deviceKit().Play(L"{}");
    const Deadline deadline("no owner window");
    REQUIRE(cam().Init(nullptr, nullptr, nullptr) == camOk);
    previewFrames.Reset();
    cam().RegisterPreviewCallback(CatchPreview);
    CHECK(cam().StartPreview() == camOk);
    CHECK(PumpUntil([] { return previewFrames.count() > 0; }));
    CHECK(cam().StopPreview() == camOk);
    CHECK(cam().State() == CAM_STATE_STOPPED);
    cam().RegisterPreviewCallback(nullptr);
    CHECK(cam().ShutDown() == camOk);
}

TEST_CASE("without a camera driver nothing comes up, and that quickly") {
    Camera camera(LR"({"devices": []})");
    CHECK(camera.initResult == kNoMoreFiles);
    const Deadline deadline("no driver");
    CHECK(cam().State() == CAM_STATE_NONE);  // the graph has got as far as its media control
    CHECK(cam().StartPreview() != camOk);
    CHECK(cam().StopPreview() == camOk);
    CHECK(cam().SnapPicture(nullptr, 0) == camCaptureFailed);
    long value = 0, flags = 0;
    CHECK(cam().GetProperty(0, &value, &flags) == camInvalidArgument);
    CHECK(cam().SetResolution(0) == camOk);  // there is no still branch to change
    CHECK(cam().RegisterPreviewCallback(CatchPreview) == camOk);
    CHECK(cam().RegisterPreviewCallback(nullptr) == camOk);
    HBITMAP bitmap = nullptr;
    CHECK(cam().GetSnapshot(&bitmap) == camInvalidArgument);

    // The next selection cleans up and works.
    deviceKit().Play(L"{}");
    CHECK(cam().Init(camera.windows.owner(), nullptr, nullptr) == camOk);
    CHECK(cam().StartPreview() == camOk);
}

TEST_CASE("of two camera drivers the second is opened, further ones are not looked at") {
    for (const auto& [devices, opened] : {std::pair{L"[\"CAM1:\"]", L"CAM1:"},
                                          {L"[\"CAM1:\", \"CAM2:\"]", L"CAM2:"},
                                          {L"[\"CAM1:\", \"CAM2:\", \"CAM3:\"]", L"CAM2:"}}) {
        Camera camera(std::wstring(L"{\"devices\": ") + devices + L"}");
        REQUIRE(camera.initResult == camOk);
        CHECK(deviceKit().CallCount((std::wstring(L"IPersistPropertyBag::Load ") + opened).c_str()) == 1);
        CHECK(deviceKit().CallCount(L"IPersistPropertyBag::Load") == 1);
    }
}

TEST_CASE("properties reach the interface and the number that belong to their id") {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    for (const auto& [id, set, number] : tables::kProperties) {
        CAPTURE(id);
        long value = 0, flags = 0;
        cam().GetProperty(id, &value, &flags);
        const std::string call = std::string(set) + "::Get " + std::to_string(number);
        CHECK(deviceKit().CallCount(std::wstring(call.begin(), call.end()).c_str()) == 1);
    }
    long minimum = 0, maximum = 0, step = 0, initial = 0, flags = 0, value = 0;
    CHECK(cam().GetPropertyRange(CAM_PROPERTY_ZOOM, &minimum, &maximum, &step, &initial, &flags) == camOk);
    CHECK(((minimum == 1) && (maximum == 8) && (step == 1) && (initial == 1) && (flags == CAM_FLAG_MANUAL)));
    CHECK(cam().SetProperty(CAM_PROPERTY_ZOOM, 4, CAM_FLAG_MANUAL) == camOk);
    CHECK(cam().GetProperty(CAM_PROPERTY_ZOOM, &value, &flags) == camOk);
    CHECK(((value == 4) && (flags == CAM_FLAG_MANUAL)));
    CHECK(cam().SetProperty(CAM_PROPERTY_ZOOM, 9, CAM_FLAG_MANUAL) == camInvalidArgument);
    CHECK(cam().GetCameraID(&value) == camOk);
    CHECK(value == 1);
}
