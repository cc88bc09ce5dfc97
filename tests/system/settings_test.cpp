#include <doctest/doctest.h>

#include "harness.h"
#include "tables/settings.h"

namespace {

constexpr char kSettings[] =
    "[Other]\nZoom=2\n[Camera]\nBrightness=11\nAutofocus=0\nFlash=1\nResolution=2\nColor=0\nFocusMin="
    "20\nFocusMax=210\n"
    "FocusStep=4\nFocusFixed=99\nZoom=3\n";

// What was set, in its order: "IAMVideoProcAmp::Set 0", "IAMStreamConfig::SetFormat ..."
std::vector<std::wstring> Settings() {
    std::vector<std::wstring> settings;
    for (const std::wstring& call : Calls()) {
        if (call.find(L"::Set ") != std::wstring::npos) settings.push_back(call);
        if (call.find(L"IAMStreamConfig::SetFormat") == 0) settings.push_back(L"resolution");
    }
    return settings;
}

// Shuts the camera down at the end.
struct Initialised {
    Initialised(const std::wstring& scenario, const wchar_t* path, const wchar_t* section) {
        Play(scenario);
        result = camInit(nullptr, path, section);
    }
    ~Initialised() { camShutDown(); }
    camResult result;
};

long Value(int id) {
    long value = -1, flags = 0;
    camGetProperty(id, &value, &flags);
    return value;
}

const std::vector<std::wstring> kAll = [] {
    std::vector<std::wstring> calls;
    for (const auto& [key, set, number, preset] : tables::kApplied) {
        const std::string call = set ? std::string(set) + "::Set " + std::to_string(number) : "resolution";
        calls.emplace_back(call.begin(), call.end());
    }
    return calls;
}();

}  // namespace

TEST_CASE("the persisted settings are set one after the other") {
    const TestFile file(L"camera.ini", kSettings);
    const Initialised camera(L"{}", file.path(), L"Camera");
    CHECK(camera.result == camOk);
    CHECK(Settings() == kAll);
    CHECK(Value(CAM_PROPERTY_BRIGHTNESS) == 11);
    CHECK(Value(CAM_PROPERTY_ZOOM) == 3);
    CHECK(Value(CAM_PROPERTY_FOCUS_FIXED) == 99);
    long height = 0, width = 0, wantedHeight = 0, wantedWidth = 0;
    camGetResolutionDimensions(&height, &width, -1);
    camGetResolutionDimensions(&wantedHeight, &wantedWidth, 2);
    CHECK(((height == wantedHeight) && (width == wantedWidth)));
    CHECK(State() == CAM_STATE_INITIALISED);
}

TEST_CASE("the first setting that fails ends it, and the camera is up all the same") {
    const TestFile file(L"camera.ini", kSettings);
    TakeMessageBoxes();
    for (const auto& [call, done] : {std::pair<const wchar_t*, size_t>{L"IAMVideoProcAmp::Set 0", 1},
                                     {L"IAMCameraControl::Set 6", 2},
                                     {L"IAMStreamConfig::SetFormat", 4},
                                     {L"IAMCameraControl::Set 3", 10}}) {
        const Initialised camera(
            std::wstring(L"{\"calls\": {\"") + call + L"\": {\"result\": \"0x80004005\"}}}", file.path(),
            L"Camera");
        CHECK(camera.result == camOk);
        CHECK(Settings() == std::vector<std::wstring>(kAll.begin(), kAll.begin() + static_cast<int>(done)));
        CHECK(State() == CAM_STATE_INITIALISED);
    }
    TakeMessageBoxes();
}

TEST_CASE("a section that is not there gives the defaults; no path, no section or no file: nothing is set") {
    const TestFile file(L"camera.ini", kSettings);
    {
        const Initialised camera(L"{}", file.path(), L"Elsewhere");
        CHECK(Settings() == kAll);
        CHECK(Value(CAM_PROPERTY_FOCUS_FIXED) == 150);
    }
    const TestFile missing(L"missing.ini");
    for (const auto& [path, section] : {std::pair<const wchar_t*, const wchar_t*>{nullptr, L"Camera"},
                                        {file.path(), nullptr},
                                        {missing.path(), L"Camera"}}) {
        const Initialised camera(L"{}", path, section);
        CHECK(camera.result == camOk);
        CHECK(Settings().empty());
    }
}
