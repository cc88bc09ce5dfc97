#include <doctest/doctest.h>

#include "frames.h"
#include "harness.h"

namespace {

constexpr wchar_t kSmallStills[] = LR"({"stillFormats": [{"width": 320, "height": 240, "subtype": "YUY2"}]})";

// A camera that previews.
struct RunningCamera : Camera {
    explicit RunningCamera(const std::wstring& scenario = kSmallStills) : Camera(scenario) {
        REQUIRE(initResult == camOk);
        REQUIRE(camStartPreview() == camOk);
    }
};

}  // namespace

TEST_CASE("a picture is written in the format of its extension, in every mode") {
    RunningCamera camera;
    int taken = 0;
    for (const auto& [name, begin] : {std::pair<const wchar_t*, std::string>{L"a.bmp", "BM"},
                                      {L"a.JPG", "\xFF\xD8\xFF"},
                                      {L"a.png", "\x89PNG\r\n\x1A\n"},
                                      {L"a.Tif", std::string("II*\0", 4)}}) {
        for (const int mode : {0, 1, 2}) {
            CAPTURE(mode);
            const TestFile file(name);
            CHECK(camSnapPicture(file.path(), mode) == camOk);
            REQUIRE(camera.windows.WaitForCaptured(++taken));
            const std::string bytes = ReadBytes(file.path());
            CHECK(bytes.substr(0, begin.size()) == begin);
            CHECK(bytes.size() > 200);
        }
    }
}

TEST_CASE("without a file name nothing is written and everything else happens") {
    RunningCamera camera;
    HBITMAP bitmap = reinterpret_cast<HBITMAP>(static_cast<UINT_PTR>(1));
    CHECK(camGetSnapshot(&bitmap) == camOk);
    CHECK(bitmap == nullptr);
    CHECK(camGetSnapshot(nullptr) == camInvalidArgument);

    stillFrames.Reset();
    camRegisterStillImageCallback(CatchStill);
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(1));
    REQUIRE(stillFrames.frames().size() == 1);
    const Frame& frame = stillFrames.frames()[0];
    CHECK(((frame.height == 240) && (frame.width == 320) && (frame.stride == 640) &&
           (frame.size == 320 * 240 * 2)));
    CHECK(frame.ShowsChart(kit::Layout::Rgb565));

    CHECK(camGetSnapshot(&bitmap) == camOk);
    CHECK(GetObjectType(bitmap) == OBJ_BITMAP);

    camRegisterStillImageCallback(nullptr);
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(2));
    CHECK(stillFrames.count() == 1);
}

TEST_CASE("a text is stamped into the next picture and into no other") {
    RunningCamera camera;
    constexpr wchar_t text[] = L"####\n####";
    stillFrames.Reset(3);
    camRegisterStillImageCallback(CatchStill);
    camSnapPicture(nullptr, 0);
    REQUIRE(camera.windows.WaitForCaptured(1));
    constexpr UINT_PTR middle = 5, magentaOnBlack = 0x1F000000 | RGB(255, 0, 255);
    const HGDIOBJ font = GetStockObject(DEFAULT_GUI_FONT);
    CHECK(camSnapPictureWithText(nullptr, 0, reinterpret_cast<UINT_PTR>(text), wcslen(text), middle,
                                 magentaOnBlack, reinterpret_cast<UINT_PTR>(font)) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(2));
    camSnapPicture(nullptr, 0);
    REQUIRE(camera.windows.WaitForCaptured(3));
    camRegisterStillImageCallback(nullptr);

    // What differs from the picture before in the middle rows, where the chart does not move.
    auto changed = [](const Frame& before, const Frame& after) {
        int pixels = 0;
        for (int y = 80; y < 150; ++y) {
            for (int x = 0; x < 320; ++x) pixels += before.At(x, y) != after.At(x, y);
        }
        return pixels;
    };
    const std::vector<Frame>& frames = stillFrames.frames();
    REQUIRE(frames.size() == 3);
    CHECK(changed(frames[0], frames[1]) > 20);
    CHECK(changed(frames[0], frames[2]) == 0);
}

TEST_CASE("a trigger that the driver refuses fails, and the next one works") {
    RunningCamera camera(LR"({"calls": {"IAMVideoControl::SetMode": {"at": 1, "result": "0x80070005"}}})");
    CHECK(camSnapPicture(nullptr, 0) == camCaptureFailed);
    CHECK(State() == CAM_STATE_PREVIEWING);
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    CHECK(camera.windows.WaitForCaptured(1));
}

TEST_CASE("without an events window a picture is taken and nobody told") {
    Play(kSmallStills);
    Windows windows;
    REQUIRE(camInit(windows.owner(), nullptr, nullptr) == camOk);
    REQUIRE(camStartPreview() == camOk);
    CHECK(camSnapPicture(nullptr, 0) == camOk);
    CHECK(PumpUntil([] { return State() == CAM_STATE_PREVIEWING; }));
    CHECK(windows.captured() == 0);
    CHECK(camShutDown() == camOk);
}
