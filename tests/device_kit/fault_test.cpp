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

TEST_CASE("each call of the building of a graph can be made to fail") {
    struct Row {
        const wchar_t* call;
        int at;
    };
    const Row rows[] = {{L"CoCreateInstance CaptureGraphBuilder", 1},
                        {L"CoCreateInstance FilterGraph", 1},
                        {L"ICaptureGraphBuilder2::SetFiltergraph", 1},
                        {L"IGraphBuilder::QueryInterface IMediaControl", 1},
                        {L"CoCreateInstance CaptureFilter", 1},
                        {L"IBaseFilter::QueryInterface IPersistPropertyBag", 1},
                        {L"IPersistPropertyBag::Load", 1},
                        {L"IPersistPropertyBag::Load CAM1:", 1},
                        {L"IGraphBuilder::AddFilter", 2},
                        {L"IGraphBuilder::AddFilter Video Renderer", 1},
                        {L"CoCreateInstance VideoRenderer", 1},
                        {L"CoCreateInstance", 4},
                        {L"ICaptureGraphBuilder2::RenderStream", 2},
                        {L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_PREVIEW MEDIATYPE_Video", 1},
                        {L"ICaptureGraphBuilder2::FindPin", 1},
                        {L"ICaptureGraphBuilder2::FindInterface", 1},
                        {L"IBaseFilter::QueryInterface IAMVideoControl", 1}};
    for (const Row& row : rows) {
        CAPTURE(row.call);
        Load(FailAt(row.call, row.at));
        {
            Graph graph;
            CHECK(graph.Build(L"CAM1:", true) == kWanted);
        }
        CHECK(kitCallCount(row.call) == row.at);
        CHECK(kitLiveObjects() == 0);
    }
    kitReset();
}

TEST_CASE("a watched graph works like any other and tells its calls in their order") {
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
        ComPtr<IEnumPins> pins;
        REQUIRE(graph.renderer->EnumPins(pins.put()) == S_OK);
        ComPtr<IPin> pin;
        REQUIRE(pins->Next(1, pin.put(), nullptr) == S_OK);
        ComPtr<IVideoWindow> window;
        REQUIRE(graph.graph->QueryInterface(IID_IVideoWindow, window.putVoid()) == S_OK);
        REQUIRE(SUCCEEDED(window->put_Owner(0)));
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(3));
        REQUIRE(graph.TriggerStill() == S_OK);
        REQUIRE(graph.stillFrames.WaitFor(1));
        REQUIRE(SUCCEEDED(graph.Stop()));
        REQUIRE(graph.SetStillFormat(0) == S_OK);
    }
    const std::wstring log = Log();
    std::size_t at = 0;
    for (const wchar_t* line : {L"CoCreateInstance CaptureGraphBuilder\n",
                                L"CoCreateInstance FilterGraph\n",
                                L"ICaptureGraphBuilder2::SetFiltergraph\n",
                                L"IGraphBuilder::QueryInterface IMediaControl\n",
                                L"CoCreateInstance CaptureFilter\n",
                                L"IBaseFilter::QueryInterface IPersistPropertyBag\n",
                                L"IPersistPropertyBag::Load CAM1:\n",
                                L"IGraphBuilder::AddFilter Video Capture Filter Source\n",
                                L"CoCreateInstance VideoRenderer\n",
                                L"IGraphBuilder::AddFilter Video Renderer\n",
                                L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_PREVIEW MEDIATYPE_Video\n",
                                L"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video\n",
                                L"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0\n",
                                L"IBaseFilter::QueryInterface IAMVideoControl\n",
                                L"IBaseFilter::EnumPins VideoRenderer\n",
                                L"IEnumPins::Next 1\n",
                                L"IGraphBuilder::QueryInterface IVideoWindow\n",
                                L"IVideoWindow::put_Owner 0\n",
                                L"IMediaControl::Run\n",
                                L"IMediaControl::GetState 2000\n",
                                L"IAMVideoControl::SetMode 8\n",
                                L"IMediaControl::Stop\n",
                                L"IGraphBuilder::Disconnect\n",
                                L"IAMStreamConfig::GetStreamCaps 0\n",
                                L"IAMStreamConfig::SetFormat Still\n",
                                L"IGraphBuilder::ConnectDirect\n"}) {
        CAPTURE(line);
        const std::size_t found = log.find(line, at);
        REQUIRE(found != std::wstring::npos);
        at = found + 1;
    }
    CHECK(kitCallCount(L"IGraphBuilder::AddFilter") == 5);
    CHECK(kitCallCount(L"IGraphBuilder::AddFilter Video Renderer") == 1);
    CHECK(kitLiveObjects() == 0);
    // The buffer is never overrun, and always ended.
    wchar_t little[4] = {L'x', L'x', L'x', L'x'};
    CHECK(kitCallLog(little, 3) == log.size() + 1);
    CHECK(std::wstring(little, 4) == std::wstring(L"Co\0x", 4));
    kitReset();
    CHECK(Log().empty());
}

TEST_CASE("a rule acts from its count on, as often as it says, and may wait or change a success") {
    Load(
        L"{\"calls\": {\"IAMVideoControl::SetMode\": {\"at\": 2, \"times\": 2, \"result\": \"0x80004005\"},"
        L" \"IAMVideoProcAmp::Get 0\": {\"times\": 0, \"result\": \"0x00040237\"},"
        L" \"IAMStreamConfig::GetFormat\": [{\"at\": 1, \"delayMs\": 60}, {\"at\": 2, \"result\": "
        L"\"0x8000FFFF\"}]}}");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        REQUIRE(SUCCEEDED(graph.Run()));
        CHECK(graph.TriggerStill() == S_OK);
        CHECK(graph.TriggerStill() == E_FAIL);
        CHECK(graph.TriggerStill() == E_FAIL);
        CHECK(graph.TriggerStill() == S_OK);
        REQUIRE(graph.stillFrames.WaitFor(2));
        ComPtr<IAMVideoProcAmp> amp;
        REQUIRE(graph.camera.QueryTo(amp) == S_OK);
        LONG value = -7, flags = 0;
        CHECK(amp->Get(0, &value, &flags) == 0x00040237);
        CHECK(value == 0);
        CHECK(amp->Get(1, &value, &flags) == S_OK);
        CHECK(amp->Get(0, &value, &flags) == 0x00040237);
        AM_MEDIA_TYPE* type = nullptr;
        const auto begin = std::chrono::steady_clock::now();
        REQUIRE(graph.stillConfig->GetFormat(&type) == S_OK);
        CHECK(std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(55));
        cam::filter_base::DeleteMediaType(type);
        CHECK(graph.stillConfig->GetFormat(&type) == E_UNEXPECTED);
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
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        kitLoseDevice();
        CHECK(graph.camera->Run(0) == kGone);
    }
    CHECK(kitLiveObjects() == 0);
    kitReset();
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
