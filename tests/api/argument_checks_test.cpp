// Which argument is judged first, what reaches the camera, and what its result becomes.
#include <doctest/doctest.h>

#include <functional>
#include <string>
#include <vector>

#include "fake_camera.h"

namespace {

const HWND kSomeWindow = reinterpret_cast<HWND>(static_cast<UINT_PTR>(1));

struct Call {
    const char* name;
    std::function<camResult()> make;
    camResult withoutCamera;
    camResult withCamera;
    const wchar_t* reaches;  // the operation, or "" when the camera is not asked
    camResult whenCameraFails;
};

long a, b, c, d, e;
int number;
HBITMAP bitmap;

std::vector<Call> Calls() {
    using Id = int;
    auto range = [](Id id) { return [=] { return camGetPropertyRange(id, &a, &b, &c, &d, &e); }; };
    auto get = [](Id id) { return [=] { return camGetProperty(id, &a, &b); }; };
    auto set = [](Id id) { return [=] { return camSetProperty(id, 5, 2); }; };
    auto snap = [](const wchar_t* name, int mode) { return [=] { return camSnapPicture(name, mode); }; };
    return {
        {"shut down", [] { return camShutDown(); }, 1, 0, L"Shutdown; ~1", 10},
        {"start", [] { return camStartPreview(); }, 1, 0, L"StartPreview", 10},
        {"stop", [] { return camStopPreview(); }, 1, 0, L"StopPreview", 10},
        {"events window", [] { return camSetEventsWindow(kSomeWindow); }, 1, 0, L"SetEventsWindow", 0},
        {"no events window", [] { return camSetEventsWindow(nullptr); }, 1, 3, L"", 3},
        {"state", [] { return camGetState(&number); }, 1, 0, L"GetState", 10},
        {"state null", [] { return camGetState(nullptr); }, 3, 3, L"", 3},

        {"range -1", range(-1), 1, 3, L"", 3},
        {"range 0", range(0), 1, 0, L"GetPropertyRangeA 0", 3},
        {"range 8", range(8), 1, 0, L"GetPropertyRangeA 8", 3},
        {"range 9", range(9), 1, 0, L"GetPropertyRangeB 9", 3},
        {"range 80", range(80), 1, 0, L"GetPropertyRangeB 80", 3},
        {"range 81", range(81), 1, 3, L"", 3},
        {"range null 1", [] { return camGetPropertyRange(0, nullptr, &b, &c, &d, &e); }, 1, 3, L"", 3},
        {"range null 2", [] { return camGetPropertyRange(0, &a, nullptr, &c, &d, &e); }, 1, 3, L"", 3},
        {"range null 3", [] { return camGetPropertyRange(9, &a, &b, nullptr, &d, &e); }, 1, 3, L"", 3},
        {"range null 4", [] { return camGetPropertyRange(9, &a, &b, &c, nullptr, &e); }, 1, 3, L"", 3},
        {"range null 5", [] { return camGetPropertyRange(9, &a, &b, &c, &d, nullptr); }, 1, 3, L"", 3},
        {"get -2", get(-2), 1, 3, L"", 3},
        {"get -1", get(-1), 1, 0, L"GetPropertyA -1", 3},
        {"get 8", get(8), 1, 0, L"GetPropertyA 8", 3},
        {"get 9", get(9), 1, 0, L"GetPropertyB 9", 3},
        {"get 80", get(80), 1, 0, L"GetPropertyB 80", 3},
        {"get 81", get(81), 1, 3, L"", 3},
        {"get value null", [] { return camGetProperty(0, nullptr, &b); }, 1, 3, L"", 3},
        {"get flags null", [] { return camGetProperty(9, &a, nullptr); }, 1, 3, L"", 3},
        {"set -1", set(-1), 1, 3, L"", 3},
        {"set 8", set(8), 1, 0, L"SetPropertyA 8 5 2", 3},
        {"set 9", set(9), 1, 0, L"SetPropertyB 9 5 2", 3},
        {"set 80", set(80), 1, 0, L"SetPropertyB 80 5 2", 3},
        {"set 81", set(81), 1, 3, L"", 3},
        {"camera id", [] { return camGetCameraID(&a); }, 1, 0, L"GetPropertyA -1", 3},
        {"camera id null", [] { return camGetCameraID(nullptr); }, 3, 3, L"", 3},

        {"count", [] { return camGetResolutionCount(&number); }, 1, 0, L"GetResolutionCount", 0},
        {"count null", [] { return camGetResolutionCount(nullptr); }, 3, 3, L"", 3},
        {"dimensions", [] { return camGetResolutionDimensions(&a, &b, -1); }, 1, 0,
         L"GetResolutionDimensions -1", 3},
        {"dimensions null 1", [] { return camGetResolutionDimensions(nullptr, &b, 0); }, 1, 3, L"", 3},
        {"dimensions null 2", [] { return camGetResolutionDimensions(&a, nullptr, 0); }, 1, 3, L"", 3},
        {"set resolution", [] { return camSetResolution(4); }, 1, 0, L"SetResolution 4", 3},

        {"snap jpg", snap(L"a.Jpg", 0), 1, 0, L"SnapPicture a.Jpg 0 0 0 0 0 0", 8},
        {"snap bmp", snap(L"a.BMP", 2), 1, 0, L"SnapPicture a.BMP 2 0 0 0 0 0", 8},
        {"snap png", snap(L"a.png", 0), 1, 0, L"SnapPicture a.png 0 0 0 0 0 0", 8},
        {"snap tif", snap(L"dir.x\\a.tif", 1), 1, 0, L"SnapPicture dir.x\\a.tif 1 0 0 0 0 0", 8},
        {"snap nothing", snap(nullptr, 1), 1, 0, L"SnapPicture null 1 0 0 0 0 0", 8},
        {"snap jpeg", snap(L"a.jpeg", 0), 1, 3, L"", 3},
        {"snap dot in folder", snap(L"dir.jpg\\a", 0), 1, 3, L"", 3},
        {"snap empty", snap(L"", 0), 1, 3, L"", 3},
        {"snap mode 3", snap(L"a.jpg", 3), 1, 3, L"", 3},
        {"snap mode -1", snap(nullptr, -1), 1, 3, L"", 3},
        {"snap with text", [] { return camSnapPictureWithText(L"a.jpg", 1, 11, 12, 13, 14, 15); }, 1, 0,
         L"SnapPicture a.jpg 1 11 12 13 14 15", 8},
        {"snapshot", [] { return camGetSnapshot(&bitmap); }, 1, 0, L"GetSnapshot", 3},
        {"snapshot null", [] { return camGetSnapshot(nullptr); }, 1, 0, L"GetSnapshot null", 3},

        {"preview callback", [] { return camRegisterPreviewCallback(nullptr); }, 1, 0,
         L"RegisterPreviewCallback", 0},
        {"still callback", [] { return camRegisterStillImageCallback(nullptr); }, 1, 0,
         L"RegisterStillImageCallback", 0},
        {"media type callback", [] { return camRegisterMediaTypeCallback(nullptr); }, 1, 0,
         L"RegisterMediaTypeCallback", 0},
    };
}

}  // namespace

TEST_CASE("every function checks its arguments in its order and turns the camera's result into its own") {
    for (const Call& call : Calls()) {
        CAPTURE(call.name);
        ResetFakeCameras();
        CHECK(call.make() == call.withoutCamera);
        CHECK(TakeCalls() == L"");

        REQUIRE(camSelect(nullptr, nullptr, nullptr, 1) == 0);
        TakeCalls();
        CHECK(call.make() == call.withCamera);
        CHECK(TakeCalls() == call.reaches);

        // A positive result is a failure like any other.
        for (const HRESULT failure : {E_FAIL, static_cast<HRESULT>(123)}) {
            ResetFakeCameras();
            REQUIRE(camSelect(nullptr, nullptr, nullptr, 1) == 0);
            fakeCameras.result = failure;
            CHECK(call.make() == call.whenCameraFails);
        }
    }
    ResetFakeCameras();
}

TEST_CASE("what the camera writes reaches the caller's own variables") {
    ResetFakeCameras();
    REQUIRE(camInit(nullptr, nullptr, nullptr) == 0);
    CHECK(camGetPropertyRange(9, &a, &b, &c, &d, &e) == 0);
    CHECK(((a == 1) && (b == 2) && (c == 3) && (d == 4) && (e == 5)));
    CHECK(camGetCameraID(&a) == 0);
    CHECK(a == 7);
    CHECK(camGetResolutionCount(&number) == 0);
    CHECK(number == 5);
    CHECK(camGetState(&number) == 0);
    CHECK(number == 3);

    number = 42;
    fakeCameras.result = E_FAIL;
    CHECK(camGetState(&number) == 10);
    CHECK(number == 42);
    ResetFakeCameras();
}

TEST_CASE("the revision is thirteen characters") {
    wchar_t revision[16];
    std::fill(std::begin(revision), std::end(revision), L'x');
    CHECK(camGetDllRevision(nullptr) == 3);
    CHECK(camGetDllRevision(revision) == 0);
    CHECK(std::wstring(revision, 16) == std::wstring(L"2.209.30001.0\0xx", 16));
}
