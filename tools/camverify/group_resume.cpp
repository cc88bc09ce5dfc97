// The device sleeps and wakes: a running preview is started again.
#include "camera.h"
#include "check.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

constexpr char kShow[] = "IVideoWindow::put_Visible -1";

void WhilePreviewing() {
    const Session session(std::wstring(L"{}"));
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Need("somebody listens", kit.resume() != 0);
    Holds("preview is started again", PumpUntil([] { return told.calls == 2; }));
    Holds("it runs", PumpUntil([] { return State() == CAM_STATE_PREVIEWING; }));
    Equal("runs of the camera's filter", CountOf("IBaseFilter::Run"), LONG{2});
    Equal("preview stops", cam.StopPreview(), camResult{camOk});
}

void WhileRestarting() {
    for (const bool shutDown : {false, true}) {
        const Row row(shutDown ? "shut down" : "stopped");
        const Session session(
            std::wstring(L"{\"calls\": {\"IVideoWindow::put_Visible -1\": {\"at\": 2, \"delayMs\": 300}}}"));
        session.NeedPreview();
        Need("somebody listens", kit.resume() != 0);
        // The worker is about to show the window anew: preview has stopped and not yet started.
        Need("preview is being restarted", PumpUntil([] { return CountOf(kShow) == 2; }));
        if (shutDown) {
            Equal("shut down", cam.ShutDown(), camResult{camOk});
            Equal("the window is un-owned", CountOf("IVideoWindow::put_Owner 0"), LONG{2});
            continue;
        }
        Equal("preview stops", cam.StopPreview(), camResult{camOk});
        Equal("state", State(), int{CAM_STATE_STOPPED});
        Equal("runs", CountOf("IBaseFilter::Run"), LONG{2});
        Equal("stops", CountOf("IBaseFilter::Stop"), LONG{2});
    }
}

void WhileStopped() {
    const Session session(std::wstring(L"{}"));
    session.NeedUp();
    const Callbacks callbacks;
    Need("somebody listens", kit.resume() != 0);
    Need("preview starts", cam.StartPreview(),
         camResult{camOk});  // the worker has dealt with the resume, or will
    Need("preview stops", cam.StopPreview(), camResult{camOk});
    const int before = told.calls;
    const LONG stops = CountOf("IBaseFilter::Stop");
    Need("somebody listens", kit.resume() != 0);
    constexpr DWORD kLongerThanARestart = 400;
    PumpFor(kLongerThanARestart);
    Equal("state", State(), int{CAM_STATE_STOPPED});
    Equal("starts", told.calls.load(), before);
    Equal("stops", CountOf("IBaseFilter::Stop"), stops);
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Equal("somebody listens after the shutdown", kit.resume(), BOOL{FALSE});
}

DWORD WINAPI ResumeAgainAndAgain(void* end) {
    constexpr DWORD kEveryMs = 7;
    while (WaitForSingleObject(end, kEveryMs) == WAIT_TIMEOUT) kit.resume();
    return 0;
}

void Storm() {
    Session session(std::wstring(L"{}"));
    session.NeedPreview();
    platform::TakeMessageBoxes();
    const HANDLE end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE storm = CreateThread(nullptr, 0, ResumeAgainAndAgain, end, 0, nullptr);
    for (int round = 0; round < 6; ++round) {
        const Row row("round " + std::to_string(round));
        Equal("resolution", cam.SetResolution(round % 4), camResult{camOk});
        Equal("state", State(), int{CAM_STATE_PREVIEWING});
        PumpFor(20);
    }
    SetEvent(end);
    WaitForSingleObject(storm, INFINITE);
    CloseHandle(storm);
    CloseHandle(end);
    session.Snap();
    Equal("preview stops", cam.StopPreview(), camResult{camOk});
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Equal("message boxes", platform::TakeMessageBoxes(), std::vector<std::string>());
}

constexpr char kLibraryFault[] = "a fault of the library: report it with this output";

constexpr Check kChecks[] = {
    {"a resume while previewing stops preview and starts it again", kKit, WhilePreviewing, kLibraryFault},
    {"a preview that is being restarted is stopped when the caller wants it stopped", kKit, WhileRestarting,
     kLibraryFault},
    {"a resume changes nothing while preview does not run", kKit, WhileStopped, kLibraryFault},
    {"a storm of resumes during changes of the resolution harms nobody", kKit, Storm, kLibraryFault},
};

}  // namespace

const Group kResume = {"resume", "the device sleeps and wakes", kChecks};

}  // namespace verify
