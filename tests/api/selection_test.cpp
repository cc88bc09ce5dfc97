#include <doctest/doctest.h>

#include "fake_camera.h"

namespace {

int SelectedType() {
    int type = -99;
    CHECK(camGetSelectedType(&type) == 0);
    return type;
}

}  // namespace

TEST_CASE("a selection discards the camera before it, whatever is selected") {
    ResetFakeCameras();
    CHECK(camInit(nullptr, L"path", nullptr) == 0);
    CHECK(SelectedType() == 1);
    CHECK(camSelect(nullptr, nullptr, L"section", 2) == 0);
    CHECK(SelectedType() == 2);
    CHECK(TakeCalls() == L"Init 1 path null; ~1; Init 2 null section");

    CHECK(camSelect(nullptr, nullptr, nullptr, 7) == 1);
    CHECK(TakeCalls() == L"~2");
    CHECK(SelectedType() == 7);
    CHECK(fakeCameras.alive == 0);
    CHECK(camStartPreview() == 1);
    ResetFakeCameras();
}

TEST_CASE("a camera that could not be brought up stays selected until the next selection or shutdown") {
    ResetFakeCameras();
    fakeCameras.initResult = HRESULT_FROM_WIN32(ERROR_NO_MORE_FILES);
    CHECK(camInit(nullptr, nullptr, nullptr) == HRESULT_FROM_WIN32(ERROR_NO_MORE_FILES));
    TakeCalls();
    CHECK(camStartPreview() == 0);
    CHECK(camInit(nullptr, nullptr, nullptr) == HRESULT_FROM_WIN32(ERROR_NO_MORE_FILES));
    CHECK(TakeCalls() == L"StartPreview; ~1; Init 1 null null");
    CHECK(camShutDown() == 0);
    CHECK(TakeCalls() == L"Shutdown; ~1");

    fakeCameras.initResult = 6;  // the settings could not be applied: no failure
    CHECK(camInit(nullptr, nullptr, nullptr) == 0);

    fakeCameras.outOfMemory = true;
    CHECK(camSelect(nullptr, nullptr, nullptr, 2) == 1);
    CHECK(fakeCameras.alive == 0);
    ResetFakeCameras();
}

TEST_CASE("shutting down keeps a camera that refuses, and finds none the second time") {
    ResetFakeCameras();
    REQUIRE(camInit(nullptr, nullptr, nullptr) == 0);
    for (const HRESULT refusal : {E_FAIL, static_cast<HRESULT>(1)}) {
        fakeCameras.result = refusal;
        CHECK(camShutDown() == 10);
        CHECK(fakeCameras.alive == 1);
    }
    fakeCameras.result = 0;
    CHECK(camShutDown() == 0);
    CHECK(camShutDown() == 1);
    CHECK(SelectedType() == 1);
    ResetFakeCameras();
}

TEST_CASE("a camera is taken away neither inside another call nor while its own thread waits") {
    ResetFakeCameras();
    REQUIRE(camInit(nullptr, nullptr, nullptr) == 0);
    static camResult shutDown, selected;
    const auto tryBoth = [] {
        shutDown = camShutDown();
        selected = camSelect(nullptr, nullptr, nullptr, 7);
    };
    const struct {
        const char* inside;
        void (*call)();
    } cases[] = {{"a preview's start", [] { camStartPreview(); }},
                 {"a picture", [] { camSnapPicture(nullptr, 0); }},
                 {"a shutdown", [] { camShutDown(); }},
                 {"a selection", [] { camSelect(nullptr, nullptr, nullptr, 2); }}};
    for (const auto& [inside, call] : cases) {
        CAPTURE(inside);
        fakeCameras.onCall = tryBoth;
        shutDown = selected = 0;
        fakeCameras.result = E_FAIL;  // so that the shutdown keeps the camera
        call();
        fakeCameras.onCall = nullptr;
        CHECK(shutDown == 10);
        CHECK(selected == RPC_E_CANTCALLOUT_ININPUTSYNCCALL);
        CHECK(fakeCameras.alive == 1);
    }
    fakeCameras.result = 0;
    fakeCameras.canEnd = false;
    CHECK(camShutDown() == 10);
    CHECK(camInit(nullptr, nullptr, nullptr) == RPC_E_CANTCALLOUT_ININPUTSYNCCALL);
    fakeCameras.canEnd = true;
    CHECK(SelectedType() == 2);  // that of the last selection which was carried out
    CHECK(camShutDown() == 0);
    ResetFakeCameras();
}
