// Scenarios that make calls fail, lose the device or bring a resume; the call log.
#include "device_kit/test_graph.h"

#include <doctest/doctest.h>

#include <chrono>

namespace {

using namespace kit;
using namespace kit::test;

constexpr HRESULT kWanted = static_cast<HRESULT>(0x80041234);
constexpr HRESULT kGone = static_cast<HRESULT>(0x8007048F);

void Load(const std::wstring& scenario) {
    wchar_t error[500] = L"";
    const BOOL loaded = kitLoadScenario(scenario.c_str(), error, 500);
    CAPTURE(error);
    REQUIRE(loaded);
}

std::wstring FailAt(const std::wstring& call, int at = 1) {
    return L"{\"calls\": {\"" + call + L"\": {\"at\": " + std::to_wstring(at) +
           L", \"result\": \"0x80041234\"}}}";
}

std::wstring Log() {
    std::wstring log(kitCallLog(nullptr, 0), L'\0');
    kitCallLog(log.data(), static_cast<DWORD>(log.size()));
    log.pop_back();
    return log;
}

}  // namespace

// That a rule reaches each call of the building of a graph, and that a watched graph tells its calls in their
// order, is seen in the library's own tests.
TEST_CASE("a call is counted for its name, for the name before its argument, and from graph to graph anew") {
    for (const auto& [call, at] : {std::pair<const wchar_t*, int>{L"IPersistPropertyBag::Load CAM1:", 1},
                                   {L"IPersistPropertyBag::Load", 1},
                                   {L"IGraphBuilder::AddFilter", 2},
                                   {L"CoCreateInstance", 4},
                                   {L"ICaptureGraphBuilder2::RenderStream", 2},
                                   {L"ICaptureGraphBuilder2::FindInterface", 1}}) {
        CAPTURE(call);
        Load(FailAt(call, at));
        {
            Graph graph;
            CHECK(graph.Build(L"CAM1:", true) == kWanted);
        }
        CHECK(kitCallCount(call) == at);
        CHECK(kitLiveObjects() == 0);
    }
    kitReset();
}

TEST_CASE("a watched graph is one object like any other, and its log is cut to the reader's buffer") {
    Load(L"{\"watchGraph\": true}");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build(L"CAM1:", true)));
        ComPtr<IUnknown> fromGraph, fromControl;
        REQUIRE(graph.graph.QueryTo(fromGraph) == S_OK);
        REQUIRE(graph.control.QueryTo(fromControl) == S_OK);
        CHECK(fromGraph.get() == fromControl.get());
        ComPtr<IGraphBuilder> again;
        REQUIRE(graph.builder->GetFiltergraph(again.put()) == S_OK);
        CHECK(again.get() == graph.graph.get());
        // Through the converter, of which the desktop's renderer has need, the picture keeps its size.
        ComPtr<IBasicVideo> video;
        REQUIRE(graph.graph->QueryInterface(IID_IBasicVideo, video.putVoid()) == S_OK);
        LONG width = 0, height = 0;
        CHECK(video->GetVideoSize(&width, &height) == S_OK);
        CHECK(width == 640);
        CHECK(height == 480);
    }
    CHECK(kitCallCount(L"IGraphBuilder::AddFilter") == 5);
    CHECK(kitCallCount(L"IGraphBuilder::AddFilter Video Renderer") == 1);
    CHECK(kitLiveObjects() == 0);
    // Never overrun, and always ended.
    const std::wstring log = Log();
    CHECK(log.find(L"CoCreateInstance CaptureGraphBuilder\n") == 0);
    wchar_t little[4] = {L'x', L'x', L'x', L'x'};
    CHECK(kitCallLog(little, 3) == log.size() + 1);
    CHECK(std::wstring(little, 4) == std::wstring(L"Co\0x", 4));
    kitReset();
    CHECK(Log().empty());
}

TEST_CASE(
    "a failure goes before the call, a success code takes the place of the call's, and a delay is waited "
    "out") {
    Load(
        L"{\"calls\": {\"IAMVideoControl::SetMode\": {\"at\": 2, \"result\": \"0x80004005\"},"
        L" \"IAMVideoProcAmp::Get 0\": {\"times\": 0, \"result\": \"0x00040237\"},"
        L" \"IAMStreamConfig::GetFormat\": {\"delayMs\": 60}}}");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        REQUIRE(SUCCEEDED(graph.Run()));
        CHECK(graph.TriggerStill() == S_OK);
        CHECK(graph.TriggerStill() == E_FAIL);
        CHECK(graph.TriggerStill() == S_OK);
        REQUIRE(graph.stillFrames.WaitFor(2));
        ComPtr<IAMVideoProcAmp> amp;
        REQUIRE(graph.camera.QueryTo(amp) == S_OK);
        LONG value = -7, flags = 0;
        CHECK(amp->Get(0, &value, &flags) == 0x00040237);
        CHECK(value == 0);
        CHECK(amp->Get(1, &value, &flags) == S_OK);
        AM_MEDIA_TYPE* type = nullptr;
        const auto begin = std::chrono::steady_clock::now();
        REQUIRE(graph.stillConfig->GetFormat(&type) == S_OK);
        CHECK(std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(55));
        cam::filter_base::DeleteMediaType(type);
        REQUIRE(SUCCEEDED(graph.Stop()));
    }
    CHECK(kitStillPictures() == 2);
    CHECK(kitLiveObjects() == 0);
    kitReset();
}

TEST_CASE("a lost device sends no more frames and fails every call, and the graph still comes apart") {
    Load(L"{\"loseDeviceAfterFrames\": 4}");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(4));
        // The loss is counted right after the frame has been delivered.
        while (graph.TriggerStill() == S_OK) SwitchToThread();
        CHECK(graph.TriggerStill() == kGone);
        ComPtr<IAMCameraControl> control;
        CHECK(graph.camera.QueryTo(control) == kGone);
        AM_MEDIA_TYPE* type = nullptr;
        CHECK(graph.stillConfig->GetFormat(&type) == kGone);
        CHECK(graph.Stop() == kGone);
        CHECK(graph.previewFrames.Count() == 4);
        CHECK(graph.camera->Pause() == kGone);
    }
    CHECK(kitPreviewFrames() == 4);
    CHECK(kitLiveObjects() == 0);
    kitReset();
}

TEST_CASE("the next call fails when it is told to, without a scenario for it") {
    kitReset();
    Graph graph;
    REQUIRE(SUCCEEDED(graph.Build()));
    REQUIRE(SUCCEEDED(graph.Run()));
    CHECK_FALSE(kitAnswerNext(L"IAMVideoControl::NoSuchMethod", E_FAIL));
    CHECK_FALSE(kitAnswerNext(L"IMediaControl::Run", E_FAIL));
    CHECK_FALSE(kitAnswerNext(nullptr, E_FAIL));
    CHECK(kitAnswerNext(L"IAMVideoControl::SetMode", E_FAIL));
    CHECK(graph.TriggerStill() == E_FAIL);
    CHECK(graph.TriggerStill() == S_OK);
    graph.Stop();
}

namespace {

int resumes = 0;

LRESULT CALLBACK PowerWindow(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_POWERBROADCAST && first == PBT_APMRESUMEAUTOMATIC) ++resumes;
    return DefWindowProcW(window, message, first, second);
}

}  // namespace

TEST_CASE("a resume reaches every listening window of the process") {
    kitReset();
    CHECK_FALSE(kitResume());
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = PowerWindow;
    windowClass.lpszClassName = L"OcellusPowerNotifications";
    windowClass.hInstance = GetModuleHandleW(nullptr);
    REQUIRE(RegisterClassW(&windowClass));
    const HWND plain =
        CreateWindowW(windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    const HWND hidden =
        CreateWindowW(windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    REQUIRE(plain);
    REQUIRE(hidden);
    const auto pump = [] {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    };
    resumes = 0;
    CHECK(kitResume());
    pump();
    CHECK(resumes == 2);
    DestroyWindow(hidden);

    Load(L"{\"resumeAfterFrames\": 2}");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(4));
        pump();
        CHECK(resumes == 3);
    }
    DestroyWindow(plain);
    UnregisterClassW(windowClass.lpszClassName, nullptr);
    kitReset();
}
