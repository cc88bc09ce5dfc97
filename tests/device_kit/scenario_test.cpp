// What a scenario says is what the camera is; what is wrong in it is named.
#include <doctest/doctest.h>

#include "device_kit/test_graph.h"

namespace {

using namespace kit;
using namespace kit::test;

std::wstring LoadError(const wchar_t* scenario) {
    wchar_t error[600] = L"";
    return kitLoadScenario(scenario, error, 600) ? L"" : error;
}

std::wstring ActiveDevice(const wchar_t* key, const wchar_t* value) {
    wchar_t text[100] = L"";
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, (std::wstring(L"Drivers\\") + key).c_str(), value, RRF_RT_REG_SZ,
                 nullptr, text, &size);
    return text;
}

DWORD ActiveHandle(const wchar_t* key) {
    DWORD handle = 0, size = sizeof handle;
    RegGetValueW(HKEY_LOCAL_MACHINE, (std::wstring(L"Drivers\\Active\\") + key).c_str(), L"Hnd",
                 RRF_RT_REG_DWORD, nullptr, &handle, &size);
    return handle;
}

HRESULT LoadInto(const wchar_t* device, LONG* cameraId) {
    ComPtr<IBaseFilter> camera;
    HRESULT hr = Create(kClsidCaptureFilter, camera);
    if (SUCCEEDED(hr)) hr = LoadDevice(camera.get(), device);
    ComPtr<IAMVideoProcAmp> amp;
    LONG flags = 0;
    if (SUCCEEDED(hr)) hr = camera.QueryTo(amp);
    return SUCCEEDED(hr) ? amp->Get(-1, cameraId, &flags) : hr;
}

}  // namespace

TEST_CASE("a scenario's mistakes are named with member, value and remedy, and change nothing") {
    struct Row {
        const wchar_t* scenario;
        const wchar_t* member;
        const wchar_t* value;
        const wchar_t* remedy;
    };
    const Row rows[] = {
        {L"{\"devices\": 3}", L"\"devices\"", L"is 3", L"give a list"},
        {L"{\"devices\": [\"CAMERA1:\"]}", L"\"devices[0]\"", L"\"CAMERA1:\"", L"\"CAM1:\""},
        {L"{\"devices\": [\"CAM1:\", \"CAM1:\"]}", L"\"devices[1]\"", L"\"CAM1:\"", L"a name of its own"},
        {L"{\"devices\": [{\"cameraId\": 4}]}", L"\"devices[0]\"", L"{\"cameraId\":4}", L"add \"name\""},
        {L"{\"devices\": [{\"name\": \"CAM1:\", \"colour\": 4}]}", L"\"devices[0].colour\"", L"is 4",
         L"no such member"},
        {L"{\"scene\": \"tree\"}", L"\"scene\"", L"\"tree\"", L"\"chart\""},
        {L"{\"scene\": {\"picture\": \"C:\\\\no such.png\"}}", L"\"scene.picture\"", L"no such.png",
         L"existing BMP"},
        {L"{\"scene\": {\"film\": \"C:\\\\no such.y4m\"}}", L"\"scene.film\"", L"no such.y4m",
         L"existing file"},
        {L"{\"framesPerSecond\": 0}", L"\"framesPerSecond\"", L"is 0", L"from 1 to 60"},
        {L"{\"framesPerSecond\": 29.97}", L"\"framesPerSecond\"", L"29.97", L"whole number"},
        {L"{\"preview\": {\"width\": 320}}", L"\"preview\"", L"{\"width\":320}",
         L"both \"width\" and \"height\""},
        {L"{\"preview\": {\"width\": 320, \"height\": 9999}}", L"\"preview.height\"", L"9999", L"1 to 4096"},
        {L"{\"preview\": {\"width\": 3, \"height\": 3, \"subtype\": \"YUY2\"}}", L"\"preview.subtype\"",
         L"YUY2", L"no such member"},
        {L"{\"stillFormats\": []}", L"\"stillFormats\"", L"[]", L"at least one"},
        {L"{\"stillFormats\": [{\"width\": 8, \"height\": 8, \"subtype\": \"RGB24\"}]}",
         L"\"stillFormats[0].subtype\"", L"\"RGB24\"", L"\"YUY2\" or \"RGB565\""},
        {L"{\"stillFormat\": 12}", L"\"stillFormat\"", L"is 12", L"0 to 11"},
        {L"{\"properties\": {\"shine\": {}}}", L"\"properties.shine\"", L"{}", L"\"brightness\""},
        {L"{\"properties\": {\"cameraControl72\": {}}}", L"\"properties.cameraControl72\"", L"{}",
         L"no such member"},
        {L"{\"properties\": {\"zoom\": {\"minimum\": 9}}}", L"\"properties.zoom\"", L"{\"minimum\":9}",
         L"above its maximum"},
        {L"{\"properties\": {\"zoom\": {\"value\": 9}}}", L"\"properties.zoom\"", L"{\"value\":9}",
         L"between"},
        {L"{\"properties\": {\"zoom\": {\"step\": 2, \"value\": 2}}}", L"\"properties.zoom\"", L"\"step\":2",
         L"steps"},
        {L"{\"properties\": {\"zoom\": {\"flags\": [\"often\"]}}}", L"\"properties.zoom.flags\"",
         L"[\"often\"]", L"\"auto\""},
        {L"{\"watchGraph\": 1}", L"\"watchGraph\"", L"is 1", L"true or false"},
        {L"{\"calls\": {\"IGraphBuilder::Fly\": {\"delayMs\": 1}}}", L"\"calls.IGraphBuilder::Fly\"",
         L"{\"delayMs\":1}", L"no such call"},
        {L"{\"calls\": {\"IPin::Connect\": {\"result\": 5}}}", L"\"calls.IPin::Connect.result\"", L"is 5",
         L"\"0x80004005\""},
        {L"{\"chaos\": 7}", L"\"chaos\"", L"7", L"\"seed\""},
        {L"{\"chaos\": {}}", L"\"chaos\"", L"{}", L"add \"seed\""},
        {L"{\"chaos\": {\"seed\": -1}}", L"\"chaos.seed\"", L"-1", L"from 0"},
        {L"{\"loseDeviceAfterFrames\": -1}", L"\"loseDeviceAfterFrames\"", L"-1", L"from 1"},
        {L"{\"speed\": 5}", L"\"speed\"", L"is 5", L"no such member"},
        {L"{\"devices\": [}", L"no JSON text", L"character 14", L"comma"},
        {L"C:\\no such scenario.json", L"no such scenario.json", L"cannot be opened", L"existing file"}};
    CHECK(LoadError(L"{\"devices\": [\"CAM7:\"], \"framesPerSecond\": 15}") == L"");
    for (const Row& row : rows) {
        CAPTURE(row.scenario);
        const std::wstring error = LoadError(row.scenario);
        CAPTURE(error);
        CHECK(error.find(row.member) != std::wstring::npos);
        CHECK(error.find(row.value) != std::wstring::npos);
        CHECK(error.find(row.remedy) != std::wstring::npos);
    }
    CHECK_FALSE(kitLoadScenario(nullptr, nullptr, 0));
    CHECK(ActiveDevice(L"Active\\01", L"Name") == L"CAM7:");
    LONG cameraId = 0;
    CHECK(LoadInto(L"CAM7:", &cameraId) == S_OK);
    // An error that does not fit is cut, not overrun.
    wchar_t little[5] = {L'x', L'x', L'x', L'x', L'x'};
    CHECK_FALSE(kitLoadScenario(L"{\"speed\": 5}", little, 4));
    CHECK(little[3] == 0);
    CHECK(little[4] == L'x');
    kitReset();
}

TEST_CASE("devices are recorded as active, and only those can be loaded") {
    constexpr HRESULT kNoSuchDevice = static_cast<HRESULT>(0x80070002);
    LONG cameraId = 0;
    REQUIRE(LoadError(L"{\"devices\": [\"CAM1:\", {\"name\": \"VID4:\", \"cameraId\": 77}]}") == L"");
    CHECK(ActiveDevice(L"Active\\01", L"Name") == L"CAM1:");
    CHECK(ActiveDevice(L"Active\\01", L"Key") == L"Drivers\\Builtin\\Camera1");
    CHECK(ActiveDevice(L"Active\\02", L"Name") == L"VID4:");
    CHECK(ActiveDevice(L"Builtin\\Camera2", L"IClass") == L"{CB998A05-122C-4166-846A-933E4D7E3C86}");
    CHECK(ActiveHandle(L"01") != 0);
    CHECK(ActiveHandle(L"02") != 0);
    CHECK(LoadInto(L"CAM1:", &cameraId) == S_OK);
    CHECK(cameraId == 1);
    CHECK(LoadInto(L"VID4:", &cameraId) == S_OK);
    CHECK(cameraId == 77);
    CHECK(LoadInto(L"CAM2:", &cameraId) == kNoSuchDevice);
    CHECK(LoadInto(nullptr, &cameraId) == E_INVALIDARG);

    REQUIRE(LoadError(L"{\"devices\": []}") == L"");
    CHECK(ActiveDevice(L"Active\\01", L"Name") == L"");
    CHECK(ActiveDevice(L"Active\\02", L"Name") == L"");
    CHECK(LoadInto(L"CAM1:", &cameraId) == kNoSuchDevice);
    kitReset();
    CHECK(ActiveDevice(L"Active\\01", L"Name") == L"CAM1:");
    CHECK(ActiveDevice(L"Active\\02", L"Name") == L"");
    CHECK(kitLiveObjects() == 0);
}

TEST_CASE("a camera remembers its device, and does nothing before it has one") {
    kitReset();
    ComPtr<IBaseFilter> camera;
    REQUIRE(Create(kClsidCaptureFilter, camera) == S_OK);
    constexpr HRESULT kNotReady = static_cast<HRESULT>(0x80070015);
    CHECK(camera->Pause() == kNotReady);
    ComPtr<IAMVideoProcAmp> amp;
    LONG value = 0, flags = 0;
    REQUIRE(camera.QueryTo(amp) == S_OK);
    CHECK(amp->Get(0, &value, &flags) == kNotReady);
    REQUIRE(LoadDevice(camera.get(), L"CAM1:") == S_OK);
    CHECK(amp->Get(0, &value, &flags) == S_OK);
    ComPtr<IPersistPropertyBag> persist;
    REQUIRE(camera.QueryTo(persist) == S_OK);
    NameBag bag(nullptr);
    CHECK(persist->Save(&bag, TRUE, TRUE) == S_OK);
    CHECK(bag.written == L"CAM1:");
}

TEST_CASE("sizes, rate, still formats and properties are the scenario's") {
    REQUIRE(LoadError(
                L"{\"framesPerSecond\": 15, \"preview\": {\"width\": 161, \"height\": 40, \"topDown\": true},"
                L"\"stillFormats\": [{\"width\": 64, \"height\": 48, \"subtype\": \"RGB565\"}, {\"width\": "
                L"32, \"height\": 24}],"
                L"\"stillFormat\": 1,"
                L"\"properties\": {\"brightness\": {\"minimum\": 0, \"maximum\": 10, \"step\": 5, "
                L"\"default\": 5, \"value\": 10,"
                L"\"flags\": [\"auto\", \"manual\"]}, \"pan\": {\"supported\": false},"
                L"\"cameraControl17\": {\"maximum\": 3, \"default\": 2}}}") == L"");
    {
        Graph graph;
        REQUIRE(SUCCEEDED(graph.Build()));
        AM_MEDIA_TYPE* type = nullptr;
        REQUIRE(graph.stillConfig->GetFormat(&type) == S_OK);
        const auto* header = reinterpret_cast<const VIDEOINFOHEADER*>(type->pbFormat);
        CHECK(header->AvgTimePerFrame == 666666);
        CHECK(header->bmiHeader.biWidth == 32);
        CHECK(type->subtype == MEDIASUBTYPE_YUY2);
        CHECK(type->lSampleSize == 32 * 24 * 2);
        CHECK(type->cbFormat == 100);  // with masks
        cam::filter_base::DeleteMediaType(type);
        VIDEO_STREAM_CONFIG_CAPS caps;
        CHECK(graph.stillConfig->GetStreamCaps(2, &type, reinterpret_cast<BYTE*>(&caps)) == S_FALSE);
        CHECK(graph.stillConfig->GetStreamCaps(-1, &type, reinterpret_cast<BYTE*>(&caps)) == E_INVALIDARG);

        ComPtr<IAMVideoProcAmp> amp;
        ComPtr<IAMCameraControl> control;
        REQUIRE(graph.camera.QueryTo(amp) == S_OK);
        REQUIRE(graph.camera.QueryTo(control) == S_OK);
        LONG minimum, maximum, step, initial, flags, value;
        REQUIRE(amp->GetRange(0, &minimum, &maximum, &step, &initial, &flags) == S_OK);
        CHECK(minimum == 0);
        CHECK(maximum == 10);
        CHECK(step == 5);
        CHECK(initial == 5);
        CHECK(flags == 3);
        CHECK(amp->Get(0, &value, &flags) == S_OK);
        CHECK(value == 10);
        CHECK(control->Get(0, &value, &flags) == static_cast<HRESULT>(0x80070490));
        CHECK(control->Get(17, &value, &flags) == S_OK);
        CHECK(value == 2);
        REQUIRE(amp->Set(0, 0, 2) == S_OK);

        REQUIRE(SUCCEEDED(graph.Run()));
        REQUIRE(graph.previewFrames.WaitFor(2));
        CHECK(graph.previewFrames.Last().bytes.size() == 324 * 40);
    }
    CHECK(kitLiveObjects() == 0);
    kitReset();
}

TEST_CASE("the sample scenarios can be played") {
    // Pictures and films come from the set-up; without it those two scenarios name what is missing.
    const bool hasMedia =
        GetFileAttributesW(KIT_SCENARIOS L"../../build/media/film.y4m") != INVALID_FILE_ATTRIBUTES;
    for (const wchar_t* name :
         {L"two-cameras", L"no-camera", L"slow-driver", L"dies-after-100-frames", L"film", L"photo"}) {
        CAPTURE(name);
        const std::wstring path = KIT_SCENARIOS + std::wstring(name) + L".json";
        const bool isMedia = std::wstring(name) == L"film" || std::wstring(name) == L"photo";
        const std::wstring error = LoadError(path.c_str());
        CAPTURE(error);
        CHECK(error.empty() == (hasMedia || !isMedia));
    }
    if (hasMedia) {
        REQUIRE(LoadError(KIT_SCENARIOS L"film.json") == L"");
        {
            Graph graph;
            REQUIRE(SUCCEEDED(graph.Build()));
            REQUIRE(SUCCEEDED(graph.Run()));
            REQUIRE(graph.previewFrames.WaitFor(1));
            const Frames::Frame first = graph.previewFrames.Last();
            REQUIRE(graph.previewFrames.WaitFor(graph.previewFrames.Count() + 5));
            CHECK(graph.previewFrames.Last().bytes != first.bytes);
        }
        CHECK(kitLiveObjects() == 0);
    }
    kitReset();
}
