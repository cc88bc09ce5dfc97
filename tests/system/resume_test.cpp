#include <doctest/doctest.h>

#include <atomic>

#include "harness.h"

namespace {

std::atomic<int> started;  // how often preview has reached the running state

void WINAPI CountStart(LONG, LONG, DWORD, DWORD, LONG, LONG) {
    ++started;
}

// What a tool posts for a resume; the kit's own does the same.
bool Resume() {
    return kitResume();
}

}  // namespace

TEST_CASE("a resume while previewing stops preview and starts it again") {
    Camera camera;
    started = 0;
    camRegisterMediaTypeCallback(CountStart);
    REQUIRE(camStartPreview() == camOk);
    CHECK(started == 1);
    REQUIRE(Resume());
    CHECK(PumpUntil([] { return started == 2; }));
    CHECK(PumpUntil([] { return State() == CAM_STATE_PREVIEWING; }));
    CHECK(kitCallCount(L"IBaseFilter::Run") == 2);
    CHECK(camStopPreview() == camOk);
}

TEST_CASE("a preview that is being restarted is stopped when the caller wants it stopped") {
    constexpr wchar_t show[] = L"IVideoWindow::put_Visible -1";
    for (const bool shutDown : {false, true}) {
        Camera camera(LR"({"calls": {"IVideoWindow::put_Visible -1": {"at": 2, "delayMs": 300}}})");
        REQUIRE(camStartPreview() == camOk);
        REQUIRE(Resume());
        // The worker is about to show the window anew: preview has stopped and not yet started.
        REQUIRE(PumpUntil([&] { return kitCallCount(show) == 2; }));
        if (shutDown) {
            CHECK(camShutDown() == camOk);
            CHECK(kitCallCount(L"IVideoWindow::put_Owner 0") == 2);
            continue;
        }
        CHECK(camStopPreview() == camOk);
        CHECK(State() == CAM_STATE_STOPPED);
        CHECK(kitCallCount(L"IBaseFilter::Run") == 2);
        CHECK(kitCallCount(L"IBaseFilter::Stop") == 2);
    }
}

TEST_CASE("a resume changes nothing while preview does not run") {
    Camera camera;
    started = 0;
    camRegisterMediaTypeCallback(CountStart);
    REQUIRE(Resume());
    REQUIRE(camStartPreview() == camOk);  // the worker has dealt with the resume, or will
    REQUIRE(camStopPreview() == camOk);
    const int before = started;
    const LONG stops = kitCallCount(L"IBaseFilter::Stop");
    REQUIRE(Resume());
    PumpFor(300);
    CHECK(State() == CAM_STATE_STOPPED);
    CHECK(started == before);
    CHECK(kitCallCount(L"IBaseFilter::Stop") == stops);
    CHECK(camShutDown() == camOk);
    CHECK_FALSE(Resume());  // nobody listens any more
}

// Until the flag that `go` points to falls.
static DWORD WINAPI ResumeAgainAndAgain(void* go) {
    while (*static_cast<std::atomic<bool>*>(go)) {
        kitResume();
        Sleep(7);
    }
    return 0;
}

TEST_CASE("a storm of resumes during changes of the resolution harms nobody") {
    Camera camera;
    REQUIRE(camStartPreview() == camOk);
    std::atomic<bool> storming = true;
    const HANDLE storm = CreateThread(nullptr, 0, ResumeAgainAndAgain, &storming, 0, nullptr);
    {
        const Deadline deadline("resume storm", 60000);
        for (int round = 0; round < 6; ++round) {
            CHECK(camSetResolution(round % 4) == camOk);
            CHECK(State() == CAM_STATE_PREVIEWING);
            PumpFor(20);
        }
        storming = false;
        WaitForSingleObject(storm, INFINITE);
        CloseHandle(storm);
        CHECK(camSnapPicture(nullptr, 0) == camOk);
        CHECK(camera.windows.WaitForCaptured(1));
        CHECK(camStopPreview() == camOk);
        CHECK(camShutDown() == camOk);
    }
    CHECK(TakeMessageBoxes().empty());
}
