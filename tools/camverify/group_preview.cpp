// Preview: frames, their shape and rate, and an end in time.
#include "camera.h"
#include "check.h"
#include "kit.h"
#include "picture.h"
#include "platform.h"

namespace verify {

namespace {

void CheckShape(const SeenFrame& frame) {
    Equal("stride modulo 4", frame.stride % 4, DWORD{0});
    const LONG bytesPerPixel = cameraType == CAM_TYPE_IMAGER ? 1 : 2;
    Holds("a row fits into the stride", frame.stride >= static_cast<DWORD>(frame.width * bytesPerPixel));
    Holds("all rows fit into the buffer", frame.size >= frame.stride * static_cast<DWORD>(frame.Rows()));
}

void RateAndShape() {
    const Session session;
    session.NeedUp();
    const Callbacks callbacks;
    const DWORD begun = GetTickCount();
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Measured("start of preview", GetTickCount() - begun, "ms");
    Need("a frame comes", PumpUntil([] { return previewFrames.Count() > 0; }));
    Measured("first frame after", GetTickCount() - begun, "ms");

    constexpr DWORD kMeasureMs = 2000;
    const LONG first = previewFrames.Count(), sentFirst = kit.there ? kit.previewFrames() : 0;
    const DWORD from = GetTickCount();
    PumpFor(kMeasureMs);
    const LONG frames = previewFrames.Count() - first, sent = kit.there ? kit.previewFrames() - sentFirst : 0;
    const DWORD ms = GetTickCount() - from;
    const LONG tenths = frames * 10000 / static_cast<LONG>(ms);
    Measured("frames a second", std::to_string(tenths / 10) + "." + std::to_string(tenths % 10));
    const SeenFrame& frame = previewFrames.Frames()[0];
    Measured("preview size", std::to_string(frame.width) + " x " + std::to_string(frame.Rows()));
    CheckShape(frame);
    if (cameraType == CAM_TYPE_IMAGER) {
        Equal("the imager tells no media type", told.calls.load(), 0);
        return;
    }
    Equal("told width", told.width, frame.width);
    Equal("told height", told.height, frame.height);
    Equal("told stride", told.stride, frame.stride);
    Equal("told format", told.formatCode, LONG{CAM_FORMAT_RGB555});
    Measured("stated frames a second", told.framesPerSecond, "");
    if (kit.there && cameraType == CAM_TYPE_DSHOW) {
        // How fast the kit can send is the machine's affair; all that it sends arrive.
        constexpr LONG kUnderWay = 2;
        Holds("frames that the kit has sent", frames >= sent - kUnderWay && frames <= sent + kUnderWay);
    }
    if (told.framesPerSecond == 0) return;
    if (!kit.there) Holds("at least half of the stated rate", tenths >= told.framesPerSecond * 5);
    Holds("not above the stated rate by a fifth", tenths <= told.framesPerSecond * 12 + 10);
}

void StopInTime() {
    const Session session;
    session.NeedUp();
    const Callbacks callbacks;
    for (int round = 0; round < 3; ++round) {
        Need("preview starts", cam.StartPreview(), camResult{camOk});
        const LONG before = previewFrames.Count();
        Need("a frame comes", PumpUntil([=] { return previewFrames.Count() > before; }));
        const DWORD begun = GetTickCount();
        Need("preview stops", cam.StopPreview(), camResult{camOk});
        const DWORD took = GetTickCount() - begun;
        Holds("within 3 s", took < 3000);
        if (round == 0) Measured("stop of preview", took, "ms");
        const LONG count = previewFrames.Count();
        PumpFor(150);
        Equal("frames after the stop", previewFrames.Count() - count, LONG{0});
    }
}

void ToldEachTime() {
    const Session session;
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("told", told.calls.load(), 1);
    Holds("not on the caller's thread", told.thread != GetCurrentThreadId());
    Equal("sample size", told.sampleSize,
          told.stride * static_cast<DWORD>(told.height < 0 ? -told.height : told.height));
    Need("preview stops", cam.StopPreview(), camResult{camOk});
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("told", told.calls.load(), 2);
    cam.RegisterMediaTypeCallback(nullptr);
    Need("preview stops", cam.StopPreview(), camResult{camOk});
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("told after the callback has gone", told.calls.load(), 2);
}

void CallbackOutlives() {
    previewFrames.Reset();
    {
        const Session session;
        session.NeedUp();
        cam.RegisterPreviewCallback(CatchPreview);
    }
    const Session session;
    session.NeedPreview();
    Holds("the next camera's frames come as well", PumpUntil([] { return previewFrames.Count() > 0; }));
    cam.RegisterPreviewCallback(nullptr);
    PumpFor(100);  // what was under way has arrived
    const LONG count = previewFrames.Count();
    PumpFor(300);
    Equal("frames after the callback has gone", previewFrames.Count() - count, LONG{0});
}

void VideoWindow() {
    const Session session;
    session.NeedUp();
    Holds("no video window before", platform::FirstChild(session.windows.owner) == nullptr);
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    const HWND video = platform::FirstChild(session.windows.owner);
    Need("a video window", video != nullptr);
    Holds("it is visible", platform::IsVisible(video));
    RECT area = {};
    GetWindowRect(video, &area);
    Equal("width", area.right - area.left, LONG{320});
    Equal("height", area.bottom - area.top, LONG{240});
    Need("preview stops", cam.StopPreview(), camResult{camOk});
    Holds("no video window after", platform::FirstChild(session.windows.owner) == nullptr);
    Holds("it is hidden", !platform::IsVisible(video));
}

void KitFrames() {
    const struct {
        const char* preview;
        LONG height, width;
        DWORD stride;
    } cases[] = {{"{\"width\": 640, \"height\": 480}", 480, 640, 1280},
                 {"{\"width\": 161, \"height\": 121}", 121, 161, 324},
                 {"{\"width\": 320, \"height\": 240, \"topDown\": true}", -240, 320, 640}};
    for (const auto& one : cases) {
        const Row row(one.preview);
        const Session session(
            Wide(std::string("{\"framesPerSecond\": 15, \"preview\": ") + one.preview + "}"));
        session.NeedUp();
        const Callbacks callbacks;
        previewFrames.Reset(3);
        Need("preview starts", cam.StartPreview(), camResult{camOk});
        Need("frames come", PumpUntil([] { return previewFrames.Count() >= 3; }));
        Equal("told rate", told.framesPerSecond, LONG{15});
        Need("preview stops", cam.StopPreview(), camResult{camOk});
        int last = -1;
        for (const SeenFrame& frame : previewFrames.Frames()) {
            Equal("height", frame.height, one.height);
            Equal("width", frame.width, one.width);
            Equal("stride", frame.stride, one.stride);
            CheckShape(frame);
            Holds("the frame shows the chart", ShowsChart(frame, Bits::Rgb555));
            const int number = FrameNumber(frame, Bits::Rgb555);
            if (last >= 0) Equal("frame number", number, last + 1);
            last = number;
        }
    }
}

void OwnerGone() {
    const Session session(std::wstring(L"{}"));
    session.NeedUp();
    DestroyWindow(session.windows.owner);
    Equal("preview", cam.StartPreview(), camResult{camFailed});
    Equal("state", State(), int{CAM_STATE_INITIALISED});
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

constexpr char kDriver[] = "see the camera driver's preview pin: format, rate, and how it stops";
constexpr Check kChecks[] = {
    {"frames come in the stated shape and at the stated rate", kCamera, RateAndShape, kDriver},
    {"a stop returns in time, and no frame comes after it", kCamera, StopInTime, kDriver},
    {"the media type is told each time preview comes to run", kCamera | kDShow, ToldEachTime, kDriver},
    {"a preview callback outlives the camera, and ends when it is taken away", kCamera | kDShow,
     CallbackOutlives, kLibraryFault},
    {"the video fills the owner's client area while preview runs", kCamera | kDShow | kDesktop, VideoWindow,
     "see that the system's video renderer is installed"},
    {"frames reach the callback as they leave the camera", kKit, KitFrames, kLibraryFault},
    {"a preview whose owner is gone says so, and the camera lives on", kKit, OwnerGone, kLibraryFault},
};

}  // namespace

const Group kPreview = {"preview", "frames, their shape and rate, and an end in time", kChecks};

}  // namespace verify
