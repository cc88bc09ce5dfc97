// Which of several cameras is opened.
#include "dshow_camera/camera_device_search.h"

#include <doctest/doctest.h>

#include "devicekit.h"

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
