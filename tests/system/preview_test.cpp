#include <doctest/doctest.h>

#include "frames.h"
#include "harness.h"

namespace {

struct MediaType {
    int calls;
    DWORD thread;
    LONG height, width;
    DWORD sampleSize, stride;
    LONG formatCode, framesPerSecond;
};
MediaType told;

void WINAPI TellMediaType(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                          LONG framesPerSecond) {
    told = {told.calls + 1, GetCurrentThreadId(), height,         width, sampleSize,
            stride,         formatCode,           framesPerSecond};
}

}  // namespace

TEST_CASE("preview frames reach the callback as they leave the camera") {
    struct Case {
        const wchar_t* preview;
        LONG height, width;
        DWORD stride;
    };
    for (const Case& c : {Case{LR"({"width": 640, "height": 480})", 480, 640, 1280},
                          {LR"({"width": 161, "height": 121})", 121, 161, 324},
                          {LR"({"width": 320, "height": 240, "topDown": true})", -240, 320, 640}}) {
        Camera camera(std::wstring(L"{\"preview\": ") + c.preview + L"}");
        REQUIRE(camera.initResult == camOk);
        previewFrames.Reset(3);
        camRegisterPreviewCallback(CatchPreview);
        REQUIRE(camStartPreview() == camOk);
        REQUIRE(PumpUntil([] { return previewFrames.count() >= 3; }));
        CHECK(camStopPreview() == camOk);
        camRegisterPreviewCallback(nullptr);

        int last = -1;
        for (const Frame& frame : previewFrames.frames()) {
            CHECK(frame.height == c.height);
            CHECK(frame.width == c.width);
            CHECK(frame.stride == c.stride);
            CHECK(frame.size >= c.stride * static_cast<DWORD>(abs(c.height)));
            CHECK(frame.ShowsChart(kit::Layout::Rgb555));
            const int number = kit::FrameNumber(frame.bytes, frame.FormatOf(kit::Layout::Rgb555));
            if (last >= 0) CHECK(number == last + 1);
            last = number;
        }
    }
}

TEST_CASE(
    "no frame comes after preview has stopped or the callback has gone; the callback outlives the camera") {
    {
        Camera camera;
        previewFrames.Reset();
        camRegisterPreviewCallback(CatchPreview);
        REQUIRE(camStartPreview() == camOk);
        REQUIRE(PumpUntil([] { return previewFrames.count() > 0; }));
        REQUIRE(camStopPreview() == camOk);
        const LONG count = previewFrames.count();
        PumpFor(150);
        CHECK(previewFrames.count() == count);
    }
    Camera next;
    previewFrames.Reset();
    REQUIRE(camStartPreview() == camOk);
    CHECK(PumpUntil([] { return previewFrames.count() > 0; }));
    camRegisterPreviewCallback(nullptr);
    const LONG frames = kitPreviewFrames();
    PumpUntil([=] { return kitPreviewFrames() > frames + 1; });  // what was under way has arrived
    const LONG count = previewFrames.count();
    REQUIRE(PumpUntil([=] { return kitPreviewFrames() > frames + 4; }));
    CHECK(previewFrames.count() == count);
}

TEST_CASE("the media type is told each time preview reaches the running state") {
    Camera camera(LR"({"framesPerSecond": 15, "preview": {"width": 320, "height": 240}})");
    REQUIRE(camera.initResult == camOk);
    told = {};
    camRegisterMediaTypeCallback(TellMediaType);
    REQUIRE(camStartPreview() == camOk);
    CHECK(told.calls == 1);
    CHECK(told.thread != GetCurrentThreadId());
    CHECK(((told.height == 240) && (told.width == 320) && (told.sampleSize == 320 * 240 * 2) &&
           (told.stride == 640)));
    CHECK(told.formatCode == CAM_FORMAT_RGB555);
    CHECK(told.framesPerSecond == 15);
    REQUIRE(camStopPreview() == camOk);
    REQUIRE(camStartPreview() == camOk);
    CHECK(told.calls == 2);
    camRegisterMediaTypeCallback(nullptr);
    REQUIRE(camStopPreview() == camOk);
    REQUIRE(camStartPreview() == camOk);
    CHECK(told.calls == 2);
}

TEST_CASE("the video fills the owner's client area while preview runs") {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    CHECK(GetWindow(camera.windows.owner(), GW_CHILD) == nullptr);
    REQUIRE(camStartPreview() == camOk);
    const HWND video = GetWindow(camera.windows.owner(), GW_CHILD);
    REQUIRE(video);
    RECT area = {};
    GetWindowRect(video, &area);
    CHECK(area.right - area.left == 320);
    CHECK(area.bottom - area.top == 240);
    CHECK(IsWindowVisible(video));
    REQUIRE(camStopPreview() == camOk);
    CHECK(GetWindow(camera.windows.owner(), GW_CHILD) == nullptr);
    CHECK_FALSE(IsWindowVisible(video));
}

TEST_CASE("a preview that cannot start says so, and the camera goes on living") {
    for (const wchar_t* scenario :
         {L"{}",
          LR"({"watchGraph": true, "calls": {"IVideoWindow::put_Owner set": {"result": "0x80004005"}}})"}) {
        Camera camera(scenario);
        REQUIRE(camera.initResult == camOk);
        if (wcscmp(scenario, L"{}") == 0) DestroyWindow(camera.windows.owner());
        CHECK(camStartPreview() == camFailed);
        CHECK(State() == CAM_STATE_INITIALISED);
        CHECK(camShutDown() == camOk);
    }
}

TEST_CASE("a camera that is lost in mid-stream is shut down like any other") {
    Camera camera;
    previewFrames.Reset();
    camRegisterPreviewCallback(CatchPreview);
    REQUIRE(camStartPreview() == camOk);
    REQUIRE(PumpUntil([] { return previewFrames.count() > 2; }));
    kitLoseDevice();
    const Deadline deadline("lost device");
    CHECK(camSnapPicture(nullptr, 0) == camCaptureFailed);
    long value = 0, flags = 0;
    CHECK(camGetProperty(0, &value, &flags) == camInvalidArgument);
    camRegisterPreviewCallback(nullptr);
    CHECK(camShutDown() == camOk);
    CHECK(kitLiveObjects() == 0);
}
