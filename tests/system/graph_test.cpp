#include <doctest/doctest.h>

#include <functional>
#include <string>

#include "harness.h"
#include "tables/platform_calls.h"

namespace {

constexpr camResult kFault = static_cast<camResult>(0x8004FEED);

std::string Narrow(const std::wstring& text) {
    return {text.begin(), text.end()};
}

// The calls since `from`, without what the system does to the camera's pins on its own account.
std::string CallsFrom(size_t from) {
    const std::vector<std::wstring> all = Calls();
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

std::string Lines(const tables::PlatformCalls& calls) {
    std::string lines;
    for (const auto& one : calls) {
        if (one.call.find("CaptureFilter") == std::string::npos) lines += one.call + "\n";
    }
    return lines;
}

std::wstring Failing(const std::string& call) {
    return L"{\"watchGraph\": true, \"calls\": {\"" + std::wstring(call.begin(), call.end()) +
           L"\": {\"result\": \"0x8004FEED\", \"times\": 0}}}";
}

}  // namespace

TEST_CASE("the graph is built in its order") {
    Camera camera(LR"({"watchGraph": true})");
    REQUIRE(camera.initResult == camOk);
    CHECK(CallsFrom(0) == Lines(tables::kConstruction));
    CHECK(kitCallCount(L"CoCreateInstance CaptureFilter") == 1);
}

TEST_CASE("preview, a picture and a change of the resolution call the graph in their order") {
    Camera camera(LR"({"watchGraph": true})");
    REQUIRE(camera.initResult == camOk);
    auto callsOf = [](const std::function<camResult()>& operation) {
        const size_t from = Calls().size();
        CHECK(operation() == camOk);
        return OperationsFrom(from);
    };
    CHECK(callsOf([] { return camStartPreview(); }) == Lines(tables::kPreviewStart));
    CHECK(callsOf([] { return camSetResolution(1); }) == Lines(tables::ResolutionChange(1, true)));
    CHECK(callsOf([] { return camStopPreview(); }) == Lines(tables::kPreviewStop));
    CHECK(callsOf([] { return camSetResolution(1); }) == Lines(tables::ResolutionChange(1, false)));
    // The quality level goes with .jpg and .tif only.
    CHECK(callsOf([] { return camSnapPicture(L"C:\\a.Tif", 1); }) ==
          "IStillImageSinkControl::SetText 0 0 0 0 0\n"
          "IStillImageSinkControl::SetFileName C:\\a.Tif\n"
          "IStillImageSinkControl::SetQualityLevel 1\n"
          "IAMVideoControl::SetMode 8\n");
    CHECK(callsOf([] { return camSnapPicture(L"C:\\a.bmp", 1); }) ==
          "IStillImageSinkControl::SetText 0 0 0 0 0\n"
          "IStillImageSinkControl::SetFileName C:\\a.bmp\n"
          "IAMVideoControl::SetMode 8\n");
}

TEST_CASE("a step of the construction that fails is what camInit returns, and the next camera works") {
    const Windows windows;
    bool selectAway = false;
    for (const tables::PlatformCall& step : tables::kConstruction) {
        CAPTURE(step.call);
        const Deadline deadline("a failing step", 20000);
        Play(Failing(step.call));
        CHECK(camInit(windows.owner(), nullptr, nullptr) == (step.matters ? kFault : camResult{camOk}));
        CHECK(camStopPreview() == camOk);  // a camera is selected
        if (selectAway = !selectAway; !selectAway) CHECK(camShutDown() == camOk);
        Play(L"{}");
        CHECK(camInit(windows.owner(), nullptr, nullptr) == camOk);
        CHECK(camShutDown() == camOk);
        CHECK(kitLiveObjects() == 0);
    }
}

TEST_CASE("a camera that was built in part refuses what it cannot do") {
    const Windows windows;
    TakeMessageBoxes();
    struct Case {
        const char* failing;
        bool previews;  // the preview branch is there
    };
    for (const Case& c : {Case{"CoCreateInstance CaptureGraphBuilder", false},
                          {"CoCreateInstance CaptureFilter", false},
                          {"CoCreateInstance StillImageSink", true},
                          {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video", true},
                          {"IBaseFilter::QueryInterface IStillImageSinkControl", true},
                          {"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0", true},
                          {"IBaseFilter::EnumPins StillImageSink", true},
                          {"IBaseFilter::QueryInterface IAMVideoControl", true}}) {
        CAPTURE(c.failing);
        const Deadline deadline("a camera in part", 20000);
        Play(Failing(c.failing));
        REQUIRE(camInit(windows.owner(), nullptr, nullptr) == kFault);
        CHECK(camStartPreview() == (c.previews ? camOk : camFailed));
        CHECK(camSnapPicture(nullptr, 0) == camCaptureFailed);
        CHECK(camRegisterStillImageCallback(nullptr) == camOk);
        int count = -1;
        CHECK(camGetResolutionCount(&count) == camOk);
        long height = 0, width = 0;
        CHECK(camGetResolutionDimensions(&height, &width, 0) == (count ? camOk : camInvalidArgument));
        camSetResolution(0);
        CHECK(camStopPreview() == camOk);
        CHECK(camShutDown() == camOk);
        CHECK(kitLiveObjects() == 0);
    }
    TakeMessageBoxes();
}

TEST_CASE("steps of preview that fail: the failure is reported, the state tells the truth, shutdown works") {
    for (const tables::PreviewFault& c : tables::kPreviewFaults) {
        CAPTURE(c.at.call);
        const Deadline deadline("preview with a failing step", 20000);
        Camera camera(Failing(c.at.call));
        REQUIRE(camera.initResult == camOk);
        CHECK(camStartPreview() == c.start);
        CHECK(State() == c.started);
        CHECK(camStopPreview() == c.stop);
        CHECK(State() == c.stopped);
        CHECK(camShutDown() == camOk);
        CHECK(kitLiveObjects() == 0);
    }
}
