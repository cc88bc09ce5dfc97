// The device sleeps and wakes: a running preview is started again.
#include <algorithm>

#include "camera.h"
#include "check.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

constexpr char kShow[] = "IVideoWindow::put_Visible -1";
constexpr char kSetText[] = "IStillImageSinkControl::SetText";

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

// ---- Calls from the messages that the camera itself sends ----------------------------------------------

constexpr camResult kNotNow = static_cast<camResult>(0x8001010D);

struct FromMessage {
    const char* name;
    camResult (*call)();
    std::vector<camResult> answers;  // any of them
};
const FromMessage kFromMessages[] = {
    {"camGetState",
     [] {
         int state = 0;
         return cam.GetState(&state);
     },
     {camOk}},
    {"camGetProperty",
     [] {
         long value = 0, flags = 0;
         return cam.GetProperty(CAM_PROPERTY_BRIGHTNESS, &value, &flags);
     },
     {camOk}},
    {"camGetResolutionDimensions",
     [] {
         long height = 0, width = 0;
         return cam.GetResolutionDimensions(&height, &width, -1);
     },
     {camOk}},
    {"camRegisterStillImageCallback", [] { return cam.RegisterStillImageCallback(nullptr); }, {camOk}},
    {"camSetResolution", [] { return cam.SetResolution(1); }, {camOk, camInvalidArgument}},
    {"camSnapPicture",
     [] {
         const LONG before = CountOf(kSetText);
         const camResult result = cam.SnapPicture(nullptr, 0);
         Equal("texts of a refused picture", CountOf(kSetText) - before, LONG{0});
         return result;
     },
     {camCaptureFailed}},
    {"camStartPreview", [] { return cam.StartPreview(); }, {camFailed, camOk}},
    {"camStopPreview", [] { return cam.StopPreview(); }, {camFailed}},
    {"camShutDown", [] { return cam.ShutDown(); }, {camFailed}},
    {"camSelect", [] { return cam.Select(nullptr, nullptr, nullptr, CAM_TYPE_IMAGER); }, {kNotNow}},
};
const FromMessage* fromMessage;
int callsFromMessages;

void CallFromMessage() {
    if (!InSendMessage() || callsFromMessages > 0) return;
    ++callsFromMessages;
    const camResult result = fromMessage->call();
    const auto& answers = fromMessage->answers;
    if (std::find(answers.begin(), answers.end(), result) == answers.end())
        Equal(fromMessage->name, result, answers.front());
}

// On the camera's thread.
HWND askedWindow;
void WINAPI TellAndAsk(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                       LONG framesPerSecond) {
    TellMediaType(height, width, sampleSize, stride, formatCode, framesPerSecond);
    SendMessageW(askedWindow, kAsk, 0, 0);
}

// While the owner window's thread is in the message, the camera's thread waits for it.
void FromItsMessages() {
    const struct {
        const char* name;
        void (*moment)(const Session& session);
    } moments[] = {{"while it restarts preview",
                    [](const Session&) {
                        kit.resume();
                        Holds("preview is started again", PumpUntil([] { return callsFromMessages > 0; }));
                    }},
                   {"while it starts preview",
                    [](const Session&) {
                        Equal("stopped", cam.StopPreview(), camResult{camOk});
                        Equal("started", cam.StartPreview(), camResult{camOk});
                    }},
                   {"while it is idle", [](const Session& session) {
                        const auto hasCalled = [] { return callsFromMessages > 0; };
                        const HWND video = platform::FirstChild(session.windows.owner);
                        if (!video) {
                            // After a while it has the owner window painted, which takes long by a clock on
                            // the wall.
                            InvalidateRect(session.windows.owner, nullptr, FALSE);
                            Holds("it sends a message", LetSentInUntil(hasCalled));
                            return;
                        }
                        // What the video window does not want to know goes to its parent.
                        PostMessageW(video, WM_SETCURSOR, reinterpret_cast<WPARAM>(video),
                                     MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
                        Holds("it sends a message", PumpUntil(hasCalled));
                    }}};
    for (const auto& [moment, reach] : moments) {
        Session session(std::wstring(L"{\"watchGraph\": true}"));
        session.NeedPreview();
        const Callbacks callbacks;
        cam.RegisterMediaTypeCallback(TellAndAsk);
        askedWindow = session.windows.owner;
        for (const FromMessage& one : kFromMessages) {
            const Row row(std::string(one.name) + " " + moment);
            fromMessage = &one;
            callsFromMessages = 0;
            onOwnerMessage = CallFromMessage;
            reach(session);
            onOwnerMessage = nullptr;
            Equal("calls from a message", callsFromMessages, 1);
            Need("it runs", PumpUntil([] { return State() == CAM_STATE_PREVIEWING; }));
        }
        session.Snap();
    }
}

constexpr Check kChecks[] = {
    {"a resume while previewing stops preview and starts it again", kKit, WhilePreviewing, kLibraryFault},
    {"a preview that is being restarted is stopped when the caller wants it stopped", kKit, WhileRestarting,
     kLibraryFault},
    {"a resume changes nothing while preview does not run", kKit, WhileStopped, kLibraryFault},
    {"every function returns from a message that the camera's thread sends", kKit, FromItsMessages,
     kLibraryFault},
    {"a storm of resumes during changes of the resolution harms nobody", kKit, Storm, kLibraryFault},
};

}  // namespace

const Group kResume = {"resume", "the device sleeps and wakes", kChecks};

}  // namespace verify
