// The camera's life from selection to shutdown, with any camera.
#include "camera.h"
#include "check.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

const HANDLE stillMayGo = CreateEventW(nullptr, TRUE, FALSE, nullptr);

void HoldStill(void*, DWORD, LONG, LONG, DWORD) {
    WaitForSingleObject(stillMayGo, kLongEnough);
}

void States() {
    Session session;
    session.NeedUp();
    const Callbacks callbacks;
    const auto step = [](const char* what, camResult result, camResult expected, int state) {
        const Row row(what);
        Equal("result", result, expected);
        Equal("state", State(), state);
    };
    step("brought up", camOk, camOk, CAM_STATE_INITIALISED);
    step("stopped before it has run", cam.StopPreview(), camOk, CAM_STATE_INITIALISED);
    step("a picture before preview has run", cam.SnapPicture(nullptr, 0), camCaptureFailed,
         CAM_STATE_INITIALISED);
    step("started", cam.StartPreview(), camOk, CAM_STATE_PREVIEWING);
    step("started again", cam.StartPreview(), camOk, CAM_STATE_PREVIEWING);
    Equal("how often preview came to run", told.calls.load(), 1);

    ResetEvent(stillMayGo);
    stillFrames.onFrame = HoldStill;
    step("a picture on its way", cam.SnapPicture(nullptr, 0), camOk, CAM_STATE_STILL_TRIGGERED);
    Equal("messages before it is taken", captured, 0);
    SetEvent(stillMayGo);
    Holds("message 2623 comes", WaitForCaptured(1));
    step("taken", camOk, camOk, CAM_STATE_PREVIEWING);
    stillFrames.Reset();

    step("stopped", cam.StopPreview(), camOk, CAM_STATE_STOPPED);
    step("stopped again", cam.StopPreview(), camOk, CAM_STATE_STOPPED);
    // Taken when frames flow again.
    step("a picture while stopped", cam.SnapPicture(nullptr, 0), camOk, CAM_STATE_STILL_TRIGGERED);
    Equal("started for it", cam.StartPreview(), camResult{camOk});
    Holds("message 2623 comes", WaitForCaptured(2));
    step("taken", camOk, camOk, CAM_STATE_PREVIEWING);
    step("shut down", cam.ShutDown(), camOk, -1);
    Equal("shut down again", cam.ShutDown(), camResult{camNotInitialised});
}

void Cycles() {
    constexpr int kCycles = 10;
    DWORD longest = 0;
    const DWORD started = GetTickCount();
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        const Row row("cycle " + std::to_string(cycle + 1));
        const DWORD begun = GetTickCount();
        Session session;
        session.NeedUp();
        const Callbacks callbacks;
        Need("preview starts", cam.StartPreview(), camResult{camOk});
        Need("a frame comes", PumpUntil([] { return previewFrames.Count() > 0; }));
        session.Snap();
        Need("shut down", cam.ShutDown(), camResult{camOk});
        longest = GetTickCount() - begun > longest ? GetTickCount() - begun : longest;
    }
    Measured("a cycle", (GetTickCount() - started) / kCycles, "ms");
    Measured("the longest cycle", longest, "ms");
}

void Endings() {
    const struct {
        const char* name;
        bool preview, stop, still;
    } cases[] = {{"initialised", false, false, false},
                 {"previewing", true, false, false},
                 {"stopped", true, true, false},
                 {"still triggered while previewing", true, false, true},
                 {"still triggered while stopped", true, true, true}};
    const Windows windows;
    for (const auto& one : cases) {
        for (const bool selectAway : {false, true}) {
            const Row row(std::string(one.name) + (selectAway ? ", selected away" : ", shut down"));
            Need("the camera comes up", cam.Select(windows.owner, nullptr, nullptr, cameraType),
                 camResult{camOk});
            if (one.preview) Equal("started", cam.StartPreview(), camResult{camOk});
            if (one.stop) Equal("stopped", cam.StopPreview(), camResult{camOk});
            if (one.still) Equal("triggered", cam.SnapPicture(nullptr, 0), camResult{camOk});
            if (selectAway) {
                Equal("an unknown type", cam.Select(windows.owner, nullptr, nullptr, 7),
                      camResult{camNotInitialised});
            } else {
                Equal("shut down", cam.ShutDown(), camResult{camOk});
            }
            Equal("state", State(), -1);
            if (kit.there) Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
        }
    }
}

void Reselection() {
    const Windows windows;
    for (int round = 0; round < 3; ++round) {
        Need("the camera comes up", cam.Select(windows.owner, nullptr, nullptr, cameraType),
             camResult{camOk});
        Equal("preview starts", cam.StartPreview(), camResult{camOk});
    }
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Equal("there was one camera", cam.ShutDown(), camResult{camNotInitialised});
}

void NoOwner() {
    Need("the camera comes up", cam.Select(nullptr, nullptr, nullptr, cameraType), camResult{camOk});
    {
        const Callbacks callbacks;
        Equal("preview starts", cam.StartPreview(), camResult{camOk});
        Holds("a frame comes", PumpUntil([] { return previewFrames.Count() > 0; }));
        Equal("preview stops", cam.StopPreview(), camResult{camOk});
        if (cameraType == CAM_TYPE_DSHOW) Equal("state", State(), int{CAM_STATE_STOPPED});
    }
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

// The owner window's thread is the one that calls: while it waits for the camera, the camera's worker shows,
// moves and un-owns a child of its window.
void NeverServed() {
    const Windows windows;
    Need("the camera comes up", cam.Select(windows.owner, nullptr, nullptr, CAM_TYPE_DSHOW),
         camResult{camOk});
    int count = 0;
    cam.GetResolutionCount(&count);
    for (int round = 0; round < 3; ++round) {
        Equal("started", cam.StartPreview(), camResult{camOk});
        Equal("triggered", cam.SnapPicture(nullptr, 0), camResult{camOk});
        // By its state, since no message may be served.
        while (State() != CAM_STATE_PREVIEWING) Sleep(1);
        if (count > 0) Equal("resolution", cam.SetResolution(round % count), camResult{camOk});
        Equal("stopped", cam.StopPreview(), camResult{camOk});
    }
    Equal("started", cam.StartPreview(), camResult{camOk});
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

void WindowsAbove() {
    Session session;
    session.NeedPreview();
    const HWND video = platform::FirstChild(session.windows.owner);
    Need("there is a video window", video != nullptr);
    platform::WorkOn(session.windows.top, session.windows.owner, video);
    Equal("state", State(), int{CAM_STATE_PREVIEWING});
    DestroyWindow(session.windows.top);
    Equal("state", State(), int{CAM_STATE_PREVIEWING});
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

void PostedMessages() {
    const Session session;
    session.NeedUp();
    PostMessageW(session.windows.events, CAM_MESSAGE_STILL_CAPTURED, 0, 0);
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("posted messages that were served meanwhile", captured, 0);
    Holds("it is served afterwards", WaitForCaptured(1));
}

void IdlePainting() {
    const Session session;
    session.NeedUp();
    const DWORD idle = GetTickCount();
    ownerPaints = 0;
    InvalidateRect(session.windows.owner, nullptr, FALSE);
    Holds("the owner window is painted", LetSentInUntil([] { return ownerPaints > 0; }));
    Holds("not before 3 s have passed", GetTickCount() - idle > 3000);
}

constexpr char kDriver[] =
    "see the camera driver's messages; if the device kit passes this check, the driver is at fault";
constexpr Check kChecks[] = {
    {"the camera goes through its states", kCamera | kDShow, States, kDriver},
    {"ten cycles of opening, previewing, taking a picture and closing", kCamera, Cycles, kDriver},
    {"a camera can be shut down and selected away in every state", kCamera, Endings, kDriver},
    {"a selection discards the camera before it", kCamera, Reselection, kDriver},
    {"preview runs without an owner window", kCamera, NoOwner, kDriver},
    {"the owner's thread can stay in the library from the first call to the last", kCamera | kDShow,
     NeverServed, kLibraryFault},
    {"windows above the video window can be worked on while it previews", kCamera | kDShow | kDesktop,
     WindowsAbove, kLibraryFault},
    {"posted messages wait until the call has returned", kCamera, PostedMessages, kLibraryFault},
    {"an idle camera has the owner window painted every four seconds", kCamera | kDShow, IdlePainting,
     kLibraryFault},
};

}  // namespace

const Group kLife = {"life", "from selection to shutdown", kChecks};

}  // namespace verify
