// ocellus/camera.hpp, before a camera that records what reaches it.
#include <doctest/doctest.h>

#include <atomic>
#include <thread>

#include <ocellus/camera.hpp>

#include "fake_camera.h"
#include "pump.h"

namespace {

ocellus::CameraChoice Imager() {
    ocellus::CameraChoice choice;
    choice.type = CAM_TYPE_IMAGER;
    return choice;
}

}  // namespace

TEST_CASE("the camera goes with its owner, and texts arrive in UTF-16 whatever they were given in") {
    ResetFakeCameras();
    {
        ocellus::Camera camera;
        ocellus::CameraChoice choice;
        choice.settingsFile = "\xC3\xA4.ini";
        choice.settingsSection = L"Camera";
        CHECK(camera.Select(choice).Code() == camOk);
        CHECK(TakeCalls().starts_with(L"Init 1 \u00E4.ini Camera"));
        CHECK(camera.Snap(std::string("\xE2\x82\xAC.png"), 1).Code() == camOk);
        CHECK(camera.Snap({}).Code() == camOk);
        CHECK(TakeCalls() == L"SnapPicture \u20AC.png 1 0 0 0 0 0; SnapPicture null 0 0 0 0 0 0");
    }
    CHECK(TakeCalls().ends_with(L"Shutdown; ~1"));
    CHECK(fakeCameras.alive == 0);
    CHECK(ocellus::ToUtf8(ocellus::ToUtf16("\xF0\x9F\x93\xB7")) == "\xF0\x9F\x93\xB7");
}

TEST_CASE("a failure is a code, or an error that names call, result and remedy") {
    ResetFakeCameras();
    ocellus::Camera camera;
    CHECK(camera.StartPreview().Code() == camNotInitialised);
    CHECK(camera.Resolutions().Or({}).empty());
    CHECK_THROWS_AS(camera.State().OrThrow(), ocellus::Error);
    fakeCameras.initResult = ocellus::SystemResult(ERROR_NO_MORE_FILES);
    try {
        camera.Select(Imager()).OrThrow();
        FAIL("no error");
    } catch (const ocellus::Error& error) {
        CHECK(error.Code() == ocellus::SystemResult(ERROR_NO_MORE_FILES));
        CHECK(std::string(error.what()) == "camSelect failed: 0x80070012, no camera. Connect a camera.");
    }
    CHECK(ocellus::ResultName(E_FAIL) == L"0x80004005");
    CHECK(ocellus::ResultName(10) == L"camFailed");
    CHECK(ocellus::ResultName(99) == L"99");
    fakeCameras.result = 1;
    CHECK(camera.Set(CAM_PROPERTY_ZOOM, 2).Code() == camInvalidArgument);
    CHECK(camera.Get(CAM_PROPERTY_ZOOM).Or({42, 0}).value == 42);
    fakeCameras.result = 0;
    CHECK(camera.Get(CAM_PROPERTY_ZOOM).OrThrow().value == 8);
    CHECK(camera.Range(CAM_PROPERTY_ZOOM).OrThrow().maximum == 2);
    CHECK(camera.Resolutions().OrThrow().size() == 5);
}

TEST_CASE("callbacks bring their context, outlive a selection, and end when replaced") {
    ResetFakeCameras();
    ocellus::Camera camera;
    int height = 0;
    long rate = 0;
    camera.OnPreviewFrame([&height](const ocellus::Frame& frame) { height = frame.height; });
    camera.OnFormat([&rate](const ocellus::PreviewFormat& format) { rate = format.framesPerSecond; });
    for (int selection = 1; selection <= 2; ++selection) {
        fakeCameras.previewCallback = nullptr;
        REQUIRE(camera.Select(Imager()).Code() == camOk);
        REQUIRE((fakeCameras.previewCallback != nullptr));
        fakeCameras.previewCallback(nullptr, 0, -480 * selection, 640, 1280);
        fakeCameras.mediaTypeCallback(480, 640, 0, 1280, CAM_FORMAT_RGB555, 30);
        CHECK(height == -480 * selection);
        CHECK(rate == 30);
    }
    // One that replaces itself ends well, and is not called again.
    int calls = 0;
    camera.OnPreviewFrame([&](const ocellus::Frame&) {
        ++calls;
        camera.OnPreviewFrame(nullptr);
        ++calls;
    });
    fakeCameras.previewCallback(nullptr, 0, 480, 640, 1280);
    fakeCameras.previewCallback(nullptr, 0, 480, 640, 1280);
    CHECK(calls == 2);

    // Whoever takes a function away waits until it has returned.
    std::atomic<bool> entered = false, returned = false;
    camera.OnPreviewFrame([&](const ocellus::Frame&) {
        entered = true;
        Sleep(50);
        returned = true;
    });
    std::thread streaming([] { fakeCameras.previewCallback(nullptr, 0, 480, 640, 1280); });
    while (!entered) Sleep(1);
    camera.OnPreviewFrame(nullptr);
    CHECK(returned);
    streaming.join();
}

namespace {
BOOL CALLBACK FindHelpersWindow(HWND window, LPARAM found) {
    *reinterpret_cast<HWND*>(found) = window;
    return GetWindowLongPtrW(window, GWLP_USERDATA) == 0;
}
}  // namespace

TEST_CASE("a picture's message arrives as a call on the thread that asked for it") {
    ResetFakeCameras();
    ocellus::Camera camera;
    int taken = 0;
    camera.OnPictureTaken([&taken] { ++taken; });
    REQUIRE(camera.Select(Imager()).Code() == camOk);
    CHECK(TakeCalls().ends_with(L"SetEventsWindow"));
    HWND window = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindHelpersWindow, reinterpret_cast<LPARAM>(&window));
    PostMessageW(window, CAM_MESSAGE_STILL_CAPTURED, 0, 0);
    CHECK(PumpUntil([&] { return taken == 1; }));
}
