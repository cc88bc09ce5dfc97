// The driver in a running graph, with the device kit as the webcam.
#include <doctest/doctest.h>

#include <control.h>

#include <string>
#include <vector>

#include "device_kit/test_graph.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "platform/platform.h"
#include "properties.h"
#include "pump.h"
#include "refused_call.h"
#include "scene/chart_reader.h"

namespace {

using namespace kit;
using namespace kit::test;
using cam::driver::ListWebcams;

const Apartment apartment;

constexpr HRESULT kNotConnected = static_cast<HRESULT>(0x8007048F);
constexpr int kTolerance = 24;  // what 5 bits, halved chroma and JPEG leave

HRESULT FindFirstWebcam(wchar_t* name) {
    const auto webcams = ListWebcams();
    if (webcams.empty()) return E_FAIL;
    wcscpy(name, webcams.front().legacyName.c_str());
    return S_OK;
}

// The kit as the only webcam, sending `formats`, with further members of the scenario.
void Play(const std::string& formats, const std::string& more = "") {
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"1");
    const std::string text = R"({"webcams": [{"name": "Kit", "path": "\\\\?\\kit#1"}], "webcamFormats": [)" +
                             formats + "]" + more + "}";
    wchar_t error[300] = L"";
    const bool good = kitLoadScenario(std::wstring(text.begin(), text.end()).c_str(), error, 300);
    CAPTURE(text);
    REQUIRE_MESSAGE(good, std::string(error, error + wcslen(error)));
}

struct DriverGraph : Graph {
    HRESULT BuildDriver() {
        const HRESULT hr =
            cam::platform::CreateCaptureFilter(kClsidCaptureFilter, FindFirstWebcam, camera.put());
        wchar_t name[20] = L"";
        FindFirstWebcam(name);
        return SUCCEEDED(hr) ? Build(name) : hr;
    }
    // How long until the graph says that the device is gone; -1: not within `timeoutMs`.
    long MillisecondsToLoss(long timeoutMs) {
        ComPtr<IMediaEvent> events;
        graph->QueryInterface(IID_IMediaEvent, events.putVoid());
        const DWORD start = GetTickCount();
        long code = 0;
        LONG_PTR first = 0, second = 0;
        while (static_cast<long>(GetTickCount() - start) < timeoutMs) {
            if (FAILED(events->GetEvent(&code, &first, &second, 100))) continue;
            events->FreeEventParams(code, first, second);
            if (code == EC_DEVICE_LOST) return static_cast<long>(GetTickCount() - start);
        }
        return -1;
    }
};

}  // namespace

TEST_CASE("preview and stills are upright and in their colours, whatever the webcam sends") {
    struct Sent {
        const char* format;
        int width, height;
        const char* more;
    };
    constexpr Sent kSent[] = {
        {R"({"encoding": "YUY2", "width": 640, "height": 480})", 640, 480, ""},
        {R"({"encoding": "YUY2", "width": 320, "height": 240, "longBlock": true})", 320, 240, ""},
        {R"({"encoding": "YUY2", "width": 161, "height": 121})", 161, 121, ""},
        {R"({"encoding": "NV12", "width": 640, "height": 480})", 640, 480, ""},
        {R"({"encoding": "RGB24", "width": 322, "height": 240})", 322, 240, ""},
        {R"({"encoding": "MJPG", "width": 640, "height": 480})", 640, 480, ""},
        {R"({"encoding": "MJPG", "width": 330, "height": 250})", 330, 250,
         R"(, "webcamHabits": {"huffmanTables": false})"}};
    for (const Sent& sent : kSent) {
        CAPTURE(sent.format);
        Play(sent.format, sent.more);
        {
            DriverGraph graph;
            REQUIRE(graph.BuildDriver() == S_OK);
            REQUIRE(SUCCEEDED(graph.Run()));
            REQUIRE(graph.previewFrames.WaitFor(2));
            REQUIRE(graph.TriggerStill() == S_OK);
            REQUIRE(graph.stillFrames.WaitFor(1));
            REQUIRE(SUCCEEDED(graph.Stop()));
            const Format preview = {Layout::Rgb555, sent.width, sent.height, false};
            const Format still = {Layout::Yuy2, sent.width, sent.height, true};
            CHECK(ShowsChart(graph.previewFrames.Last().bytes, preview, kTolerance));
            CHECK(ShowsChart(graph.stillFrames.Last().bytes, still, kTolerance));
            CHECK_FALSE(graph.previewFrames.Last().stamped);
        }
        CHECK(kitLiveObjects() == 0);
    }
}

TEST_CASE("each size is listed once, and the one chosen is the still's while preview keeps its own") {
    Play(R"({"encoding": "YUY2", "width": 640, "height": 480, "framesPerSecond": 10},
            {"encoding": "MJPG", "width": 1280, "height": 720}, {"encoding": "YUY2", "width": 640, "height": 480},
            {"encoding": "YUY2", "width": 1280, "height": 720, "framesPerSecond": 5},
            {"encoding": "NV12", "width": 320, "height": 240})");
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    int count = 0, size = 0;
    REQUIRE(graph.stillConfig->GetNumberOfCapabilities(&count, &size) == S_OK);
    CHECK(count == 3);
    CHECK(size == sizeof(VIDEO_STREAM_CONFIG_CAPS));
    const SIZE wanted[] = {{640, 480}, {1280, 720}, {320, 240}};
    VIDEO_STREAM_CONFIG_CAPS caps;
    for (int i = 0; i < count; ++i) {
        cam::filter_base::UniqueMediaType type;
        REQUIRE(graph.stillConfig->GetStreamCaps(i, type.put(), reinterpret_cast<BYTE*>(&caps)) == S_OK);
        const auto* block = reinterpret_cast<VIDEOINFOHEADER*>(type.get()->pbFormat);
        CHECK(type.get()->cbFormat > sizeof *block);
        CHECK(block->bmiHeader.biWidth == wanted[i].cx);
        CHECK(block->bmiHeader.biHeight == -wanted[i].cy);
        CHECK(block->AvgTimePerFrame == 333333);
    }
    cam::filter_base::UniqueMediaType large;
    REQUIRE(graph.stillConfig->GetStreamCaps(1, large.put(), reinterpret_cast<BYTE*>(&caps)) == S_OK);
    CHECK(graph.stillConfig->SetFormat(large.get()) == VFW_E_ALREADY_CONNECTED);
    ComPtr<IPin> receiver;
    REQUIRE(graph.stillPin->ConnectedTo(receiver.put()) == S_OK);
    REQUIRE(graph.graph->Disconnect(receiver.get()) == S_OK);
    REQUIRE(graph.graph->Disconnect(graph.stillPin.get()) == S_OK);
    REQUIRE(graph.stillConfig->SetFormat(large.get()) == S_OK);
    REQUIRE(graph.graph->ConnectDirect(graph.stillPin.get(), receiver.get(), large.get()) == S_OK);
    REQUIRE(SUCCEEDED(graph.Run()));
    REQUIRE(graph.previewFrames.WaitFor(1));
    REQUIRE(graph.TriggerStill() == S_OK);
    REQUIRE(graph.stillFrames.WaitFor(1));
    REQUIRE(SUCCEEDED(graph.Stop()));
    CHECK(ShowsChart(graph.stillFrames.Last().bytes, {Layout::Yuy2, 1280, 720, true}, kTolerance));
    // 640x360 in the middle of 640x480.
    const auto frame = graph.previewFrames.Last().bytes;
    const Format preview = {Layout::Rgb555, 640, 480, false};
    CHECK(PixelAt(frame, preview, 320, 30) == 0);
    CHECK(IsNear(PixelAt(frame, preview, 5, 65), chart::kTopLeft, kTolerance));
}

namespace {

// The still pin's format of that size, as an application chooses it.
void ChooseStill(DriverGraph& graph, LONG width) {
    int count = 0, size = 0;
    REQUIRE(graph.stillConfig->GetNumberOfCapabilities(&count, &size) == S_OK);
    ComPtr<IPin> receiver;
    REQUIRE(graph.stillPin->ConnectedTo(receiver.put()) == S_OK);
    REQUIRE(graph.graph->Disconnect(receiver.get()) == S_OK);
    REQUIRE(graph.graph->Disconnect(graph.stillPin.get()) == S_OK);
    for (int i = 0; i < count; ++i) {
        VIDEO_STREAM_CONFIG_CAPS caps;
        cam::filter_base::UniqueMediaType type;
        REQUIRE(graph.stillConfig->GetStreamCaps(i, type.put(), reinterpret_cast<BYTE*>(&caps)) == S_OK);
        if (caps.InputSize.cx != width) continue;
        REQUIRE(graph.stillConfig->SetFormat(type.get()) == S_OK);
        REQUIRE(graph.graph->ConnectDirect(graph.stillPin.get(), receiver.get(), type.get()) == S_OK);
        return;
    }
    FAIL("there is no such size");
}

}  // namespace

TEST_CASE("a webcam's own still pin takes the pictures of its sizes, and the video stays as it is") {
    Play(
        R"({"encoding": "YUY2", "width": 640, "height": 480}, {"encoding": "YUY2", "width": 320, "height": 240})",
        R"(, "webcamStillFormats": [{"encoding": "MJPG", "width": 1280, "height": 960},
             {"encoding": "YUY2", "width": 640, "height": 480}, {"encoding": "Y800", "width": 99, "height": 99}])");
    {
        DriverGraph graph;
        REQUIRE(graph.BuildDriver() == S_OK);
        const auto picturesOf = [&](LONG width, LONG height, LONG own) {
            CAPTURE(width);
            const std::size_t before = graph.stillFrames.Count();
            const LONG ownBefore = kitStillPictures();
            REQUIRE(graph.TriggerStill() == S_OK);  // ahead of the start, and another while it runs
            REQUIRE(SUCCEEDED(graph.Run()));
            REQUIRE(graph.stillFrames.WaitFor(before + 1));
            REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 2));
            REQUIRE(graph.TriggerStill() == S_OK);
            REQUIRE(graph.stillFrames.WaitFor(before + 2));
            REQUIRE(SUCCEEDED(graph.Stop()));
            CHECK(kitStillPictures() - ownBefore == own);
            CHECK(
                ShowsChart(graph.stillFrames.Last().bytes, {Layout::Yuy2, width, height, true}, kTolerance));
            CHECK(
                ShowsChart(graph.previewFrames.Last().bytes, {Layout::Rgb555, 640, 480, false}, kTolerance));
            cam::platform::StreamState state = {};
            REQUIRE(cam::platform::GetStreamState(&state));
            CHECK(state.format.width == (own ? 640 : width));
        };
        picturesOf(640, 480, 2);
        ChooseStill(graph, 1280);
        picturesOf(1280, 960, 2);
        ChooseStill(graph, 320);
        picturesOf(320, 240, 0);
        ChooseStill(graph, 640);
        picturesOf(640, 480, 2);
        int count = 0, size = 0;
        REQUIRE(graph.stillConfig->GetNumberOfCapabilities(&count, &size) == S_OK);
        CHECK(count == 3);

        REQUIRE(SUCCEEDED(graph.Run()));
        kitAnswerNext(L"IAMVideoControl::SetMode", E_FAIL);
        CHECK(graph.TriggerStill() == E_FAIL);
        const std::size_t before = graph.stillFrames.Count();
        CHECK(graph.TriggerStill() == S_OK);
        CHECK(graph.stillFrames.WaitFor(before + 1));
    }
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("a picture of the webcam's own that is of no use has used up its trigger") {
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})",
         R"(, "webcamStillFormats": [{"encoding": "MJPG", "width": 640, "height": 480}],
             "webcamHabits": {"brokenFrameEvery": 2})");
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    ChooseStill(graph, 640);
    REQUIRE(SUCCEEDED(graph.Run()));
    const auto sent = [wanted = kitStillPictures() + 2] { return kitStillPictures() == wanted; };
    REQUIRE(graph.TriggerStill() == S_OK);
    REQUIRE(graph.stillFrames.WaitFor(1));
    REQUIRE(graph.TriggerStill() == S_OK);
    REQUIRE(PumpUntil(sent));
    REQUIRE(SUCCEEDED(graph.Stop()));
    // None is asked for anew.
    const std::size_t shown = graph.previewFrames.Count();
    REQUIRE(SUCCEEDED(graph.Run()));
    REQUIRE(graph.previewFrames.WaitFor(shown + 3));
    CHECK(sent());
    CHECK(graph.stillFrames.Count() == 1);
}

TEST_CASE("frames of the warm-up are let pass after every start") {
    constexpr DWORD kFrames = 6;
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})", R"(, "webcamHabits": {"blackFrames": 6})");
    const Format preview = {Layout::Rgb555, 320, 240, false}, still = {Layout::Yuy2, 320, 240, true};
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    for (const DWORD frames : {DWORD{0}, kFrames, kFrames}) {
        CAPTURE(frames);
        REQUIRE(cam::platform::SetWarmUpFrames(frames));
        const std::size_t before = graph.stillFrames.Count(), shown = graph.previewFrames.Count();
        REQUIRE(graph.TriggerStill() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.stillFrames.WaitFor(before + 1));
        REQUIRE(graph.previewFrames.WaitFor(shown + 1));
        CHECK(ShowsChart(graph.stillFrames.Last().bytes, still, kTolerance) == (frames > 0));
        REQUIRE(SUCCEEDED(graph.Stop()));
        if (frames > 0) CHECK(ShowsChart(graph.previewFrames.Last().bytes, preview, kTolerance));
        cam::platform::StreamState state = {};
        REQUIRE(cam::platform::GetStreamState(&state));
        CHECK(state.frames > frames);
    }
    cam::platform::SetWarmUpFrames(0);
}

TEST_CASE("a camera that is no webcam has no stream to tell of, whatever ran before") {
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})");
    {
        DriverGraph graph;
        REQUIRE(graph.BuildDriver() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(1));
    }
    cam::platform::StreamState state = {};
    CHECK(cam::platform::GetStreamState(&state));
    ComPtr<IBaseFilter> driver;
    const auto find = [](wchar_t* name) { return wcscpy(name, L"CAM1:"), S_OK; };
    REQUIRE(cam::platform::CreateCaptureFilter(kClsidCaptureFilter, find, driver.put()) == S_OK);
    CHECK_FALSE(cam::platform::GetStreamState(&state));
}

TEST_CASE("broken JPEG pictures are passed over and counted") {
    Play(R"({"encoding": "MJPG", "width": 320, "height": 240})",
         R"(, "webcamHabits": {"brokenFrameEvery": 3})");
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    REQUIRE(SUCCEEDED(graph.Run()));
    REQUIRE(graph.previewFrames.WaitFor(8));
    REQUIRE(SUCCEEDED(graph.Stop()));
    cam::platform::StreamState state = {};
    REQUIRE(cam::platform::GetStreamState(&state));
    // What comes while it stops is counted, and not looked into.
    CHECK(state.brokenFrames <= state.frames / 3);
    CHECK(state.brokenFrames >= state.frames / 3 - 1);
    CHECK_FALSE(state.lost);
    CHECK(ShowsChart(graph.previewFrames.Last().bytes, {Layout::Rgb555, 320, 240, false}, kTolerance));
}

TEST_CASE("what keeps a webcam from starting is told, and the next start may do") {
    for (const HRESULT reason :
         {static_cast<HRESULT>(0x8007001F), static_cast<HRESULT>(0x800705AA), E_ACCESSDENIED}) {
        char text[20];
        snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(reason));
        CAPTURE(text);
        Play(R"({"encoding": "YUY2", "width": 320, "height": 240})",
             R"(, "calls": {"IBaseFilter::Run Webcam": {"times": 2, "result": ")" + std::string(text) +
                 "\"}}");
        DriverGraph graph;
        REQUIRE(graph.BuildDriver() == S_OK);
        // A graph may keep it to itself.
        CHECK(graph.camera->Pause() == reason);
        cam::platform::StreamState state = {};
        REQUIRE(cam::platform::GetStreamState(&state));
        CHECK(state.startResult == reason);
        CHECK(SUCCEEDED(graph.Run()));
        CHECK(graph.previewFrames.WaitFor(1));
    }
}

TEST_CASE("a webcam that goes is reported, stops in time and comes back with the next start") {
    for (const bool silently : {false, true}) {
        CAPTURE(silently);
        Play(R"({"encoding": "YUY2", "width": 320, "height": 240})",
             std::string(R"(, "webcamHabits": {"losesSilently": )") + (silently ? "true}" : "false}"));
        DriverGraph graph;
        REQUIRE(graph.BuildDriver() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(3));
        kitLoseDevice();
        const long taken = graph.MillisecondsToLoss(3000);
        CHECK(taken >= 0);
        if (silently) CHECK(taken >= 1500);
        CHECK(graph.TriggerStill() == kNotConnected);
        const DWORD start = GetTickCount();
        CHECK(SUCCEEDED(graph.Stop()));
        CHECK(GetTickCount() - start < 1000);
        CHECK(graph.camera->Pause() == kNotConnected);
        Play(R"({"encoding": "YUY2", "width": 320, "height": 240})");
        const std::size_t before = graph.previewFrames.Count();
        CHECK(SUCCEEDED(graph.Run()));
        CHECK(graph.previewFrames.WaitFor(before + 2));
    }
}

TEST_CASE("a webcam that comes back without its still pin does not start with it") {
    constexpr char kFormat[] = R"({"encoding": "YUY2", "width": 320, "height": 240})";
    Play(kFormat, R"(, "webcamStillFormats": [{"encoding": "YUY2", "width": 320, "height": 240}])");
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    REQUIRE(SUCCEEDED(graph.Run()));
    REQUIRE(graph.previewFrames.WaitFor(1));
    kitLoseDevice();
    CHECK(graph.MillisecondsToLoss(3000) >= 0);
    CHECK(SUCCEEDED(graph.Stop()));
    Play(kFormat);
    CHECK(graph.camera->Pause() == VFW_E_NOT_FOUND);
    CHECK(SUCCEEDED(graph.Stop()));
}

TEST_CASE("a webcam that hangs is given up after two seconds, and started anew afterwards") {
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})",
         R"(, "calls": {"IBaseFilter::Stop Webcam": {"delayMs": 6000}})");
    {
        DriverGraph graph;
        REQUIRE(graph.BuildDriver() == S_OK);
        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(2));
        const DWORD start = GetTickCount();
        CHECK(SUCCEEDED(graph.Stop()));
        CHECK(GetTickCount() - start < 3000);
        const std::size_t before = graph.previewFrames.Count();
        CHECK(SUCCEEDED(graph.Run()));
        CHECK(graph.previewFrames.WaitFor(before + 2));
        CHECK(SUCCEEDED(graph.Stop()));
    }
    // The one that hung comes to its end by itself, and what belonged to it goes then.
    for (int i = 0; i < 100 && kitLiveObjects() != 0; ++i) Sleep(100);
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("a driver whose thread could not be ended is not loaded") {
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})");
    wchar_t name[20] = L"";
    FindFirstWebcam(name);
    for (int events = 0; events < 4; ++events) {
        ComPtr<IBaseFilter> camera;
        {
            const RefusedEvent refusal(events);
            REQUIRE(cam::platform::CreateCaptureFilter(kClsidCaptureFilter, FindFirstWebcam, camera.put()) ==
                    S_OK);
        }
        CHECK(LoadDevice(camera.get(), name) == (events < 3 ? E_OUTOFMEMORY : S_OK));
    }
}

TEST_CASE("the webcam's own controls are the driver's") {
    Play(R"({"encoding": "YUY2", "width": 320, "height": 240})");
    DriverGraph graph;
    REQUIRE(graph.BuildDriver() == S_OK);
    ComPtr<IAMVideoProcAmp> amp;
    ComPtr<IAMCameraControl> control;
    REQUIRE(graph.camera.QueryTo(amp) == S_OK);
    REQUIRE(graph.camera.QueryTo(control) == S_OK);
    long minimum, maximum, step, initial, flags, value;
    REQUIRE(amp->GetRange(kBrightness, &minimum, &maximum, &step, &initial, &flags) == S_OK);
    CHECK(minimum < maximum);
    CHECK(amp->Set(kBrightness, maximum + 1, kFlagManual) == E_INVALIDARG);
    CHECK(amp->Set(kBrightness, maximum, kFlagManual) == S_OK);
    CHECK(amp->Get(kBrightness, &value, &flags) == S_OK);
    CHECK(value == maximum);
    CHECK(control->Set(kZoom, 2, kFlagManual) == S_OK);
    CHECK(amp->Get(-1, &value, &flags) == S_OK);
    CHECK(value == 1);
    CHECK(amp->Get(kBrightness, nullptr, &flags) == E_POINTER);
    REQUIRE(SUCCEEDED(graph.Run()));
    REQUIRE(graph.previewFrames.WaitFor(2));
    REQUIRE(SUCCEEDED(graph.Stop()));
    // Brightest, and the corner mark twice as wide.
    CHECK(Green(PixelAt(graph.previewFrames.Last().bytes, {Layout::Rgb555, 320, 240, false}, 4, 4)) > 100);
}

TEST_CASE("webcams are listed by a name that stays, and are gone when they are taken away") {
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"1");
    kitLoadScenario(LR"({"webcams": [{"name": "Twin", "path": "\\\\?\\kit#1"}, {"name": "Twin"}]})", nullptr,
                    0);
    const auto webcams = ListWebcams();
    REQUIRE(webcams.size() == 2);
    CHECK(webcams[0].identity == L"\\\\?\\kit#1");
    CHECK(webcams[0].name == L"Twin");
    CHECK(webcams[1].name == L"Twin");
    CHECK(webcams[1].identity.find(L"@device") == 0);
    CHECK(webcams[0].legacyName != webcams[1].legacyName);
    kitLoadScenario(LR"({"webcams": [{"name": "Twin"}]})", nullptr, 0);
    CHECK_FALSE(cam::driver::FindWebcam(webcams[0].identity));
    kitLoadScenario(LR"({"webcams": [{"name": "New name", "path": "\\\\?\\kit#1"}]})", nullptr, 0);
    REQUIRE(cam::driver::FindWebcam(webcams[0].identity));
    CHECK(cam::driver::FindWebcam(webcams[0].identity)->legacyName == webcams[0].legacyName);
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"0");
    CHECK(ListWebcams().empty());
    kitLoadScenario(LR"({"webcams": []})", nullptr, 0);
}
