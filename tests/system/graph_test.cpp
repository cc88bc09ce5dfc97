#include <doctest/doctest.h>

#include <functional>
#include <string>

#include "harness.h"

namespace {

constexpr camResult kFault = static_cast<camResult>(0x8004FEED);

struct Step {
    const wchar_t* call;
    bool matters = true;  // whether its failure ends the construction
};

// What camInit does to the platform, in this order.
const Step kConstruction[] = {
    {L"CoCreateInstance CaptureGraphBuilder"},
    {L"CoCreateInstance FilterGraph"},
    {L"ICaptureGraphBuilder2::SetFiltergraph"},
    {L"IGraphBuilder::QueryInterface IMediaControl"},
    {L"CoCreateInstance CaptureFilter"},
    {L"IBaseFilter::QueryInterface IPersistPropertyBag"},
    {L"IPersistPropertyBag::Load CAM1:"},
    {L"IGraphBuilder::AddFilter Video Capture Filter Source"},
    {L"CoCreateInstance VideoRenderer"},
    {L"IGraphBuilder::AddFilter Video Renderer"},
    {L"CoCreateInstance SampleGrabber"},
    {L"IGraphBuilder::AddFilter SampleGrabber"},
    {L"IBaseFilter::QueryInterface ISampleGrabberControl"},
    {L"ISampleGrabberControl::SetCallback"},
    {L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_PREVIEW MEDIATYPE_Video"},
    {L"IGraphBuilder::QueryInterface IMediaEventSink", false},
    {L"CoCreateInstance StillImageSink"},
    {L"IGraphBuilder::AddFilter Still image sink"},
    {L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video"},
    {L"IBaseFilter::QueryInterface IStillImageSinkControl"},
    {L"IStillImageSinkControl::SetCallback"},
    {L"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0"},
    {L"IBaseFilter::EnumPins StillImageSink"},
    {L"IEnumPins::Reset", false},
    {L"IEnumPins::Next 1", false},
    {L"IBaseFilter::QueryInterface IAMVideoControl"},
    {L"IGraphBuilder::QueryInterface IMediaEvent"},
    {L"IMediaEvent::GetEventHandle"},
};

std::string Narrow(const std::wstring& text) {
    return {text.begin(), text.end()};
}

// The calls since `from`, without what the system does to the camera's pins on its own account.
std::string CallsFrom(size_t from) {
    const std::vector<std::wstring> all = deviceKit().Calls();
    std::string calls;
    for (size_t call = from; call < all.size(); ++call) {
        if (all[call].find(L"IPin::") != 0 && all[call].find(L"CaptureFilter") == std::wstring::npos) {
            calls += Narrow(all[call]) + "\n";
        }
    }
    return calls;
}

// The same without the events that the worker takes when the graph has some.
std::string OperationsFrom(size_t from) {
    std::string calls = CallsFrom(from);
    for (const char* taking : {"IGraphBuilder::QueryInterface IMediaEvent\n", "IMediaEvent::"}) {
        for (size_t at; (at = calls.find(taking)) != std::string::npos;) {
            calls.erase(at, calls.find('\n', at) + 1 - at);
        }
    }
    return calls;
}

std::wstring Failing(const std::wstring& call) {
    return L"{\"watchGraph\": true, \"calls\": {\"" + call +
           L"\": {\"result\": \"0x8004FEED\", \"times\": 0}}}";
}

}  // namespace

TEST_CASE("the graph is built in its order") {
    Camera camera(LR"({"watchGraph": true})");
    REQUIRE(camera.initResult == camOk);
    std::string wanted;
    for (const Step& step : kConstruction) {
        if (wcsstr(step.call, L"CaptureFilter") == nullptr) wanted += Narrow(step.call) + "\n";
    }
    CHECK(CallsFrom(0) == wanted);
    CHECK(deviceKit().CallCount(L"CoCreateInstance CaptureFilter") == 1);
}

TEST_CASE("preview, a picture and a change of the resolution call the graph in their order") {
    Camera camera(LR"({"watchGraph": true})");
    REQUIRE(camera.initResult == camOk);
    auto callsOf = [](const std::function<camResult()>& operation) {
        const size_t from = deviceKit().Calls().size();
        CHECK(operation() == camOk);
        return OperationsFrom(from);
    };
    CHECK(callsOf([] { return cam().StartPreview(); }) ==
          "IGraphBuilder::QueryInterface IVideoWindow\n"
          "IVideoWindow::put_Owner set\n"
          "IVideoWindow::put_MessageDrain set\n"
          "IVideoWindow::SetWindowPosition 0 0 320 240\n"
          "IVideoWindow::put_WindowStyle 1140850688\n"
          "IVideoWindow::put_Visible -1\n"
          "IMediaControl::Run\n"
          "IMediaControl::GetState 100\n"
          "ISampleGrabberControl::GetInputMediaType\n"
          "ISampleGrabberControl::GetGeometry\n");
    CHECK(callsOf([] { return cam().SetResolution(1); }) ==
          "IMediaControl::GetState 100\n"
          "IVideoWindow::put_Owner 0\n"
          "IMediaControl::Pause\n"
          "IMediaControl::Stop\n"
          "ICaptureGraphBuilder2::FindInterface PIN_CATEGORY_STILL MEDIATYPE_Video IAMStreamConfig\n"
          "IAMStreamConfig::GetNumberOfCapabilities Still\n"
          "IAMStreamConfig::GetStreamCaps 1\n"
          "IGraphBuilder::Disconnect\n"
          "IGraphBuilder::Disconnect\n"
          "IAMStreamConfig::SetFormat Still\n"
          "IGraphBuilder::ConnectDirect\n"
          "IVideoWindow::put_Owner set\n"
          "IMediaControl::Run\n");
    CHECK(callsOf([] { return cam().StopPreview(); }) ==
          "IMediaControl::Pause\n"
          "IMediaControl::Stop\n"
          "IVideoWindow::put_Visible 0\n"
          "IVideoWindow::put_Owner 0\n");
    // The quality level goes with .jpg and .tif only.
    CHECK(callsOf([] { return cam().SnapPicture(L"C:\\a.Tif", 1); }) ==
          "IStillImageSinkControl::SetText 0 0 0 0 0\n"
          "IStillImageSinkControl::SetFileName C:\\a.Tif\n"
          "IStillImageSinkControl::SetQualityLevel 1\n"
          "IAMVideoControl::SetMode 8\n");
    CHECK(callsOf([] { return cam().SnapPicture(L"C:\\a.bmp", 1); }) ==
          "IStillImageSinkControl::SetText 0 0 0 0 0\n"
          "IStillImageSinkControl::SetFileName C:\\a.bmp\n"
          "IAMVideoControl::SetMode 8\n");
}

TEST_CASE("a step of the construction that fails is what camInit returns, and the next camera works") {
    const Windows windows;
    bool selectAway = false;
    for (const Step& step : kConstruction) {
        CAPTURE(Narrow(step.call));
        const Deadline deadline("a failing step", 20000);
        deviceKit().Play(Failing(step.call));
        CHECK(cam().Init(windows.owner(), nullptr, nullptr) == (step.matters ? kFault : camResult{camOk}));
        CHECK(cam().StopPreview() == camOk);  // a camera is selected
        if (selectAway = !selectAway; !selectAway) CHECK(cam().ShutDown() == camOk);
        deviceKit().Play(L"{}");
        CHECK(cam().Init(windows.owner(), nullptr, nullptr) == camOk);
        CHECK(cam().ShutDown() == camOk);
        CHECK(deviceKit().LiveObjects() == 0);
    }
}

TEST_CASE("a camera that was built in part refuses what it cannot do") {
    const Windows windows;
    TakeMessageBoxes();
    struct Case {
        const wchar_t* failing;
        bool previews;  // the preview branch is there
    };
    for (const Case& c : {Case{L"CoCreateInstance CaptureGraphBuilder", false},
                          {L"CoCreateInstance CaptureFilter", false},
                          {L"CoCreateInstance StillImageSink", true},
                          {L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video", true},
                          {L"IBaseFilter::QueryInterface IStillImageSinkControl", true},
                          {L"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0", true},
                          {L"IBaseFilter::EnumPins StillImageSink", true},
                          {L"IBaseFilter::QueryInterface IAMVideoControl", true}}) {
        CAPTURE(Narrow(c.failing));
        const Deadline deadline("a camera in part", 20000);
        deviceKit().Play(Failing(c.failing));
        REQUIRE(cam().Init(windows.owner(), nullptr, nullptr) == kFault);
        CHECK(cam().StartPreview() == (c.previews ? camOk : camFailed));
        CHECK(cam().SnapPicture(nullptr, 0) == camCaptureFailed);
        CHECK(cam().RegisterStillImageCallback(nullptr) == camOk);
        int count = -1;
        CHECK(cam().GetResolutionCount(&count) == camOk);
        long height = 0, width = 0;
        CHECK(cam().GetResolutionDimensions(&height, &width, 0) == (count ? camOk : camInvalidArgument));
        cam().SetResolution(0);
        CHECK(cam().StopPreview() == camOk);
        CHECK(cam().ShutDown() == camOk);
        CHECK(deviceKit().LiveObjects() == 0);
    }
    TakeMessageBoxes();
}

TEST_CASE("steps of preview that fail: the failure is reported, the state tells the truth, shutdown works") {
    struct Case {
        const wchar_t* call;
        camResult start, stop;
        int stateAfterStart, stateAfterStop;
    };
    constexpr int initialised = CAM_STATE_INITIALISED, previewing = CAM_STATE_PREVIEWING,
                  stopped = CAM_STATE_STOPPED;
    for (const Case& c :
         {Case{L"IGraphBuilder::QueryInterface IVideoWindow", camFailed, camOk, initialised, initialised},
          {L"IVideoWindow::put_MessageDrain", camFailed, camOk, initialised, initialised},
          {L"IVideoWindow::SetWindowPosition", camFailed, camOk, initialised, initialised},
          {L"IVideoWindow::put_WindowStyle", camFailed, camOk, initialised, initialised},
          {L"IVideoWindow::put_Visible -1", camFailed, camOk, initialised, initialised},
          {L"IMediaControl::Run", camOk, camOk, initialised, initialised},
          {L"ISampleGrabberControl::GetInputMediaType", camOk, camOk, previewing, stopped},
          {L"IMediaControl::Pause", camOk, camFailed, previewing, previewing},
          {L"IMediaControl::Stop", camOk, camFailed, previewing, CAM_STATE_PAUSED},
          {L"IVideoWindow::put_Visible 0", camOk, camFailed, previewing, previewing}}) {
        CAPTURE(Narrow(c.call));
        const Deadline deadline("preview with a failing step", 20000);
        Camera camera(Failing(c.call));
        REQUIRE(camera.initResult == camOk);
        CHECK(cam().StartPreview() == c.start);
        CHECK(cam().State() == c.stateAfterStart);
        CHECK(cam().StopPreview() == c.stop);
        CHECK(cam().State() == c.stateAfterStop);
        CHECK(cam().ShutDown() == camOk);
        CHECK(deviceKit().LiveObjects() == 0);
    }
}
