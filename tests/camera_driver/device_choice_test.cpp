// Which of several cameras is opened.
#include "dshow_camera/camera_device_search.h"

#include <doctest/doctest.h>
#include <ocellus/cam_devices.h>

#include "devicekit.h"
#include "platform/platform.h"

using namespace cam;

namespace {

const std::vector<CameraDeviceEntry> kDevices = {{L"CAM1:", L"CAM1:", L"CAM1:", false},
                                                 {L"WEB1:", L"\\\\?\\usb#1", L"Webcam C100", true},
                                                 {L"WEB2:", L"\\\\?\\usb#2", L"Webcam C100", true},
                                                 {L"WEB3:", L"\\\\?\\usb#3", L"3", true},
                                                 {L"WEB4:", L"1", L"Integrated camera", true}};

struct Environment {
    explicit Environment(const wchar_t* camera) {
        SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"1");
        SetEnvironmentVariableW(L"OCELLUS_CAMERA", camera);
    }
    ~Environment() {
        SetEnvironmentVariableW(L"OCELLUS_CAMERA", nullptr);
        ChooseCameraDevice(L"");
        kitLoadScenario(LR"({"webcams": []})", nullptr, 0);
    }
};

std::wstring Found() {
    wchar_t name[kDeviceNameLength] = L"untouched";
    return FindCameraDevice(name) == S_OK ? name : L"";
}

}  // namespace

TEST_CASE("identity before position before name before a part of it, without regard to case") {
    struct Case {
        const wchar_t* wanted;
        const wchar_t* legacyName;  // null: none fits
    };
    constexpr Case kCases[] = {{L"cam1:", L"CAM1:"},       {L"\\\\?\\USB#2", L"WEB2:"},
                               {L"1", L"WEB4:"},           {L"0", L"CAM1:"},
                               {L"2", L"WEB2:"},           {L"3", L"WEB3:"},
                               {L"webcam c100", L"WEB1:"}, {L"c1", L"WEB1:"},
                               {L"INTEGRATED", L"WEB4:"},  {L"5", nullptr},
                               {L"00003", nullptr},        {L"nothing", nullptr},
                               {L"usb#1", nullptr},        {L"-1", nullptr}};
    for (const Case& one : kCases) {
        CAPTURE(one.wanted);
        const CameraDeviceEntry* const found = FindWanted(kDevices, one.wanted);
        CHECK((found ? found->legacyName : L"none") == (one.legacyName ? one.legacyName : L"none"));
    }
}

TEST_CASE("unchosen the second camera is opened; a choice goes before the environment's") {
    const Environment environment(nullptr);
    REQUIRE(kitLoadScenario(LR"({"webcams": []})", nullptr, 0));
    CHECK(Found() == L"CAM1:");
    REQUIRE(kitLoadScenario(
        LR"({"webcams": [{"name": "Left", "path": "\\\\?\\c#l"}, {"name": "Right", "path": "\\\\?\\c#r"}]})",
        nullptr, 0));
    const auto devices = ListCameraDevices();
    REQUIRE(devices.size() == 3);
    CHECK(devices[0].identity == L"CAM1:");
    CHECK_FALSE(devices[0].isWebcam);
    CHECK(devices[1].name == L"Left");
    CHECK(devices[2].identity == L"\\\\?\\c#r");
    CHECK(devices[2].isWebcam);
    CHECK(Found() == devices[1].legacyName);
    SetEnvironmentVariableW(L"OCELLUS_CAMERA", L"cam1");
    CHECK(Found() == L"CAM1:");
    ChooseCameraDevice(L"right");
    CHECK(Found() == devices[2].legacyName);
    ChooseCameraDevice(L"gone");
    wchar_t name[kDeviceNameLength];
    CHECK(FindCameraDevice(name) == static_cast<HRESULT>(0x8007048F));
    ChooseCameraDevice(L"");
    CHECK(Found() == L"CAM1:");
}

namespace {
constexpr UINT kNotice = WM_APP + 5;

// What the watch posts when the system says that some device has changed.
std::vector<WPARAM> NoticesOfChange(HWND window) {
    SendMessageW(FindWindowW(L"OcellusDeviceNotifications", nullptr), WM_DEVICECHANGE, 7, 0);
    std::vector<WPARAM> notices;
    MSG message;
    while (PeekMessageW(&message, window, kNotice, kNotice, PM_REMOVE)) notices.push_back(message.wParam);
    return notices;
}
}  // namespace

TEST_CASE("webcams that come, go and come back are told of, other changes of devices are not") {
    const Environment environment(nullptr);
    const auto play = [](const wchar_t* webcams) { REQUIRE(kitLoadScenario(webcams, nullptr, 0)); };
    const auto* const none = LR"({"webcams": []})";
    const auto* const one = LR"({"webcams": [{"name": "Left", "path": "\\\\?\\c#l"}]})";
    const auto* const other = LR"({"webcams": [{"name": "Right", "path": "\\\\?\\c#r"}]})";
    const HWND window = CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    play(none);
    REQUIRE(platform::WatchDevices(window, kNotice));
    CHECK(NoticesOfChange(window).empty());
    play(one);
    CHECK(NoticesOfChange(window) == std::vector<WPARAM>{CAM_DEVICE_ARRIVED});
    CHECK(NoticesOfChange(window).empty());
    play(none);
    CHECK(NoticesOfChange(window) == std::vector<WPARAM>{CAM_DEVICE_REMOVED});
    play(one);
    CHECK(NoticesOfChange(window) == std::vector<WPARAM>{CAM_DEVICE_RETURNED});
    play(other);
    CHECK(NoticesOfChange(window) == std::vector<WPARAM>{CAM_DEVICE_REMOVED, CAM_DEVICE_ARRIVED});
    CHECK(platform::WatchDevices(nullptr, 0));
    CHECK(FindWindowW(L"OcellusDeviceNotifications", nullptr) == nullptr);
    DestroyWindow(window);
}
