// Each step that can fail: what it answers, what the camera can still do, and what heals it. And the order of
// the steps, on which drivers have come to depend.
#include "camera.h"
#include "check.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

constexpr camResult kFault = static_cast<camResult>(0x8004FEED);
constexpr char kFaultText[] = "0x8004FEED";

struct Step {
    const char* call;
    bool matters = true;  // whether its failure ends the construction
};
constexpr Step kConstruction[] = {
    {"CoCreateInstance CaptureGraphBuilder"},
    {"CoCreateInstance FilterGraph"},
    {"ICaptureGraphBuilder2::SetFiltergraph"},
    {"IGraphBuilder::QueryInterface IMediaControl"},
    {"CoCreateInstance CaptureFilter"},
    {"IBaseFilter::QueryInterface IPersistPropertyBag"},
    {"IPersistPropertyBag::Load CAM1:"},
    {"IGraphBuilder::AddFilter Video Capture Filter Source"},
    {"CoCreateInstance VideoRenderer"},
    {"IGraphBuilder::AddFilter Video Renderer"},
    {"CoCreateInstance SampleGrabber"},
    {"IGraphBuilder::AddFilter SampleGrabber"},
    {"IBaseFilter::QueryInterface ISampleGrabberControl"},
    {"ISampleGrabberControl::SetCallback"},
    {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_PREVIEW MEDIATYPE_Video"},
    {"IGraphBuilder::QueryInterface IMediaEventSink", false},
    {"CoCreateInstance StillImageSink"},
    {"IGraphBuilder::AddFilter Still image sink"},
    {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video"},
    {"IBaseFilter::QueryInterface IStillImageSinkControl"},
    {"IStillImageSinkControl::SetCallback"},
    {"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0"},
    {"IBaseFilter::EnumPins StillImageSink"},
    {"IEnumPins::Reset", false},
    {"IEnumPins::Next 1", false},
    {"IBaseFilter::QueryInterface IAMVideoControl"},
    {"IGraphBuilder::QueryInterface IMediaEvent"},
    {"IMediaEvent::GetEventHandle"},
};

// In an owner window of 320 by 240.
const Lines kPreviewStart = {"IGraphBuilder::QueryInterface IVideoWindow",
                             "IVideoWindow::put_Owner set",
                             "IVideoWindow::put_MessageDrain set",
                             "IVideoWindow::SetWindowPosition 0 0 320 240",
                             "IVideoWindow::put_WindowStyle 1140850688",
                             "IVideoWindow::put_Visible -1",
                             "IMediaControl::Run",
                             "IMediaControl::GetState 100",
                             "ISampleGrabberControl::GetInputMediaType",
                             "ISampleGrabberControl::GetGeometry"};
const Lines kPreviewStop = {"IMediaControl::Pause", "IMediaControl::Stop", "IVideoWindow::put_Visible 0",
                            "IVideoWindow::put_Owner 0"};

Lines ResolutionChange(int index, bool previewing) {
    Lines calls = {"IMediaControl::GetState 100"};
    const auto add = [&](const Lines& more) { calls.insert(calls.end(), more.begin(), more.end()); };
    if (previewing) add({"IVideoWindow::put_Owner 0", "IMediaControl::Pause", "IMediaControl::Stop"});
    add({"ICaptureGraphBuilder2::FindInterface PIN_CATEGORY_STILL MEDIATYPE_Video IAMStreamConfig",
         "IAMStreamConfig::GetNumberOfCapabilities Still",
         "IAMStreamConfig::GetStreamCaps " + std::to_string(index), "IGraphBuilder::Disconnect",
         "IGraphBuilder::Disconnect", "IAMStreamConfig::SetFormat Still", "IGraphBuilder::ConnectDirect"});
    if (previewing) add({"IVideoWindow::put_Owner set", "IMediaControl::Run"});
    return calls;
}

// The calls since the one of that number, without what the system does on its own account and, while the
// graph runs, without the events that the camera takes from it.
Lines CallsFrom(size_t from, bool withEvents = false) {
    const Lines all = Calls();
    Lines calls;
    for (size_t i = from; i < all.size(); ++i) {
        const std::string& call = all[i];
        const bool event =
            call.starts_with("IMediaEvent::") || call == "IGraphBuilder::QueryInterface IMediaEvent";
        if (call.starts_with("IPin::") || call.find("CaptureFilter") != std::string::npos ||
            (event && !withEvents))
            continue;
        calls.push_back(call);
    }
    return calls;
}

void ConstructionOrder() {
    const Session session(std::wstring(L"{\"watchGraph\": true}"));
    session.NeedUp();
    Lines expected;
    for (const Step& step : kConstruction) {
        if (std::string_view(step.call).find("CaptureFilter") == std::string_view::npos)
            expected.push_back(step.call);
    }
    Equal("calls", CallsFrom(0, true), expected);
    Equal("capture filters", CountOf("CoCreateInstance CaptureFilter"), LONG{1});
}

void OperationOrder() {
    const Session session(std::wstring(L"{\"watchGraph\": true}"));
    session.NeedUp();
    const auto check = [](const char* what, camResult (*operation)(), const Lines& expected) {
        const Row row(what);
        const size_t from = Calls().size();
        Equal("result", operation(), camResult{camOk});
        Equal("calls", CallsFrom(from), expected);
    };
    check(
        "start", [] { return cam.StartPreview(); }, kPreviewStart);
    check(
        "resolution while previewing", [] { return cam.SetResolution(1); }, ResolutionChange(1, true));
    check(
        "stop", [] { return cam.StopPreview(); }, kPreviewStop);
    check(
        "resolution while stopped", [] { return cam.SetResolution(1); }, ResolutionChange(1, false));
    // The quality level goes with .jpg and .tif only.
    check("a TIFF picture", [] { return cam.SnapPicture(L"\\no-folder\\a.Tif", 1); },
          {"IStillImageSinkControl::SetText 0 0 0 0 0",
           "IStillImageSinkControl::SetFileName \\no-folder\\a.Tif",
           "IStillImageSinkControl::SetQualityLevel 1", "IAMVideoControl::SetMode 8"});
    check("a BMP picture", [] { return cam.SnapPicture(L"\\no-folder\\a.bmp", 1); },
          {"IStillImageSinkControl::SetText 0 0 0 0 0",
           "IStillImageSinkControl::SetFileName \\no-folder\\a.bmp", "IAMVideoControl::SetMode 8"});
}

void Construction() {
    const Windows windows;
    bool selectAway = false;
    for (const Step& step : kConstruction) {
        const Row row(step.call);
        Play(Failing(step.call, kFaultText));
        Equal("result", cam.Init(windows.owner, nullptr, nullptr), step.matters ? kFault : camResult{camOk});
        Equal("a camera is selected", cam.StopPreview(), camResult{camOk});
        if (selectAway = !selectAway; !selectAway) Equal("shut down", cam.ShutDown(), camResult{camOk});
        Play(L"{}");
        Equal("the next camera", cam.Init(windows.owner, nullptr, nullptr), camResult{camOk});
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
    }
}

void InPart() {
    const Windows windows;
    const struct {
        const char* failing;
        bool previews;  // the preview branch is there
    } cases[] = {{"CoCreateInstance CaptureGraphBuilder", false},
                 {"CoCreateInstance CaptureFilter", false},
                 {"CoCreateInstance StillImageSink", true},
                 {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video", true},
                 {"IBaseFilter::QueryInterface IStillImageSinkControl", true},
                 {"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0", true},
                 {"IBaseFilter::EnumPins StillImageSink", true},
                 {"IBaseFilter::QueryInterface IAMVideoControl", true}};
    for (const auto& [failing, previews] : cases) {
        const Row row(failing);
        Play(Failing(failing, kFaultText));
        Need("result", cam.Init(windows.owner, nullptr, nullptr), kFault);
        Equal("preview", cam.StartPreview(), camResult{previews ? camOk : camFailed});
        Equal("a picture", cam.SnapPicture(nullptr, 0), camResult{camCaptureFailed});
        Equal("a callback", cam.RegisterStillImageCallback(nullptr), camResult{camOk});
        int count = -1;
        Equal("number of resolutions", cam.GetResolutionCount(&count), camResult{camOk});
        long height = 0, width = 0;
        Equal("dimensions", cam.GetResolutionDimensions(&height, &width, 0),
              camResult{count ? camOk : camInvalidArgument});
        cam.SetResolution(0);
        Equal("stop", cam.StopPreview(), camResult{camOk});
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
    }
    platform::TakeMessageBoxes();
}

void Preview() {
    // Results, and the states after the start and after the stop.
    const struct {
        const char* failing;
        camResult start, stop;
        int started, stopped;
    } cases[] = {{"IGraphBuilder::QueryInterface IVideoWindow", camFailed, camOk, 1, 1},
                 {"IVideoWindow::put_Owner set", camFailed, camOk, 1, 1},
                 {"IVideoWindow::put_MessageDrain", camFailed, camOk, 1, 1},
                 {"IVideoWindow::SetWindowPosition", camFailed, camOk, 1, 1},
                 {"IVideoWindow::put_WindowStyle", camFailed, camOk, 1, 1},
                 {"IVideoWindow::put_Visible -1", camFailed, camOk, 1, 1},
                 {"IMediaControl::Run", camOk, camOk, 1, 1},
                 {"ISampleGrabberControl::GetInputMediaType", camOk, camOk, 3, 2},
                 {"IMediaControl::Pause", camOk, camFailed, 3, 3},
                 {"IMediaControl::Stop", camOk, camFailed, 3, 4},
                 {"IVideoWindow::put_Visible 0", camOk, camFailed, 3, 3}};
    for (const auto& one : cases) {
        const Row row(one.failing);
        const Session session(Failing(one.failing, kFaultText));
        session.NeedUp();
        Equal("start", cam.StartPreview(), one.start);
        Equal("state after the start", State(), one.started);
        Equal("stop", cam.StopPreview(), one.stop);
        Equal("state after the stop", State(), one.stopped);
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
    }
}

void Resolution() {
    const Lines notSet = {"GraphManager\tError setting resolution"};
    const Lines notReconnected = {"SetStillImageResolution\tCouldn't reconnect", notSet[0]};
    const struct {
        const char* failing;
        const Lines& boxes;
    } cases[] = {{"ICaptureGraphBuilder2::FindInterface", notSet},
                 {"IAMStreamConfig::GetNumberOfCapabilities", notSet},
                 {"IAMStreamConfig::GetStreamCaps", notSet},
                 {"IGraphBuilder::Disconnect", notSet},
                 {"IAMStreamConfig::SetFormat", notSet},
                 {"IGraphBuilder::ConnectDirect", notReconnected}};
    platform::TakeMessageBoxes();
    for (const auto& [failing, boxes] : cases) {
        for (const bool previewing : {false, true}) {
            const Row row(std::string(failing) + (previewing ? " while previewing" : " while stopped"));
            Session session(Failing(failing, kFaultText, "\"at\": 1"));
            session.NeedPreview();
            if (!previewing) Need("preview stops", cam.StopPreview(), camResult{camOk});
            Equal("result", cam.SetResolution(2), camResult{camInvalidArgument});
            Equal("message boxes", platform::TakeMessageBoxes(), boxes);
            Equal("state", State(), previewing ? int{CAM_STATE_PREVIEWING} : int{CAM_STATE_STOPPED});

            Equal("the next change heals it", cam.SetResolution(0), camResult{camOk});
            Equal("message boxes", platform::TakeMessageBoxes(), Lines());
            if (!previewing) Need("preview starts", cam.StartPreview(), camResult{camOk});
            const Callbacks callbacks;
            if (session.Snap()) Equal("width of the picture", stillFrames.Frames().at(0).width, LONG{320});
        }
    }
}

void Still() {
    const struct {
        const char* failing;
        camResult result;
    } cases[] = {{"IStillImageSinkControl::SetText", camOk},  // a text is no matter to the picture
                 {"IStillImageSinkControl::SetFileName", camCaptureFailed},
                 {"IStillImageSinkControl::SetQualityLevel", camCaptureFailed},
                 {"IAMVideoControl::SetMode", camCaptureFailed}};
    for (const auto& [failing, result] : cases) {
        const Row row(failing);
        Session session(Failing(failing, kFaultText, "\"at\": 1"));
        session.NeedPreview();
        Equal("result", cam.SnapPicture(L"\\no-folder\\a.jpg", 0), result);
        if (result == camOk) Holds("message 2623 comes", WaitForCaptured(1));
        Equal("state", State(), int{CAM_STATE_PREVIEWING});
        // The name's fate is no matter to the level.
        Equal("quality levels set", CountOf("IStillImageSinkControl::SetQualityLevel"), LONG{1});
        session.Snap();
    }
}

constexpr Check kChecks[] = {
    {"the graph is built in its order", kKit, ConstructionOrder, kLibraryFault},
    {"preview, a change of the resolution and a picture call the graph in their order", kKit, OperationOrder,
     kLibraryFault},
    {"a step of the construction that fails is what camInit answers, and the next camera works", kKit,
     Construction, kLibraryFault},
    {"a camera that was built in part refuses what it cannot do", kKit | kMessageBoxes, InPart,
     kLibraryFault},
    {"a step of preview that fails is reported, the state tells the truth, and shutdown works", kKit, Preview,
     kLibraryFault},
    {"a step of a change of the resolution that fails is reported, and the next change heals",
     kKit | kMessageBoxes, Resolution, kLibraryFault},
    {"a step of a picture that fails is reported, and the next picture comes", kKit, Still, kLibraryFault},
};

}  // namespace

const Group kFaults = {"faults", "each step that can fail, and what heals it", kChecks};

}  // namespace verify
