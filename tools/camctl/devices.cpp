#include <windows.h>

#include <ocellus/cam_devices.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "commands.h"
#include "text.h"

namespace camctl {

namespace {

std::vector<camDevice> Devices() {
    int count = 0;
    Require(camListDevices(nullptr, 0, &count), "listing the cameras");
    std::vector<camDevice> devices(static_cast<size_t>(count));
    Require(camListDevices(devices.data(), static_cast<int>(devices.size()), &count), "listing the cameras");
    if (static_cast<size_t>(count) < devices.size()) devices.resize(static_cast<size_t>(count));
    return devices;
}

// Empty for a camera that does not say, or cannot be opened.
std::vector<camDeviceFormat> FormatsOf(const camDevice& device) {
    int count = 0;
    std::vector<camDeviceFormat> formats(1000);
    if (camListDeviceFormats(device.identity, formats.data(), static_cast<int>(formats.size()), &count) !=
        camOk)
        count = 0;
    formats.resize(std::min(formats.size(), static_cast<size_t>(count)));
    return formats;
}

std::string FourccText(DWORD fourcc) {
    std::string text;
    for (int i = 0; i < 4; ++i) text += static_cast<char>(fourcc >> 8 * i);
    return text;
}

}  // namespace

std::string FormatText(const camDeviceFormat& format) {
    char text[60];
    snprintf(text, sizeof text, "%s %ldx%ld, %.4g a second", FourccText(format.fourcc).c_str(), format.width,
             format.height, format.milliFramesPerSecond / 1000.0);
    return text;
}

Json FormatJson(const camDeviceFormat& format) {
    return {{"encoding", FourccText(format.fourcc)},
            {"width", format.width},
            {"height", format.height},
            {"framesPerSecond", format.milliFramesPerSecond / 1000.0}};
}

void List(bool withFormats, bool asJson) {
    Json cameras = Json::array();
    std::string text;
    const std::vector<camDevice> devices = Devices();
    for (size_t index = 0; index < devices.size(); ++index) {
        const camDevice& device = devices[index];
        const char* const type = device.type == CAM_DEVICE_WEBCAM ? "webcam" : "driver";
        Json camera = {{"name", ToUtf8(device.name)}, {"identity", ToUtf8(device.identity)}, {"type", type}};
        text += std::to_string(index) + "  " + type + "  " + ToUtf8(device.name) + "\n             " +
                ToUtf8(device.identity) + "\n";
        if (withFormats) {
            camera["formats"] = Json::array();
            for (const camDeviceFormat& format : FormatsOf(device)) {
                camera["formats"].push_back(FormatJson(format));
                text += "             " + FormatText(format) + "\n";
            }
        }
        cameras.push_back(camera);
    }
    if (devices.empty()) text = "there is no camera\n";
    PrintResult(asJson, {{"ok", true}, {"cameras", cameras}}, text);
}

void SwitchKitWebcam(bool on, bool asJson) {
    // Beside this program, as the library that it links to.
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring kit = path;
    kit = kit.substr(0, kit.find_last_of(L'\\') + 1) + L"devicekit.dll";
    const HMODULE module = LoadLibraryW(kit.c_str());
    const auto install = reinterpret_cast<HRESULT(WINAPI*)(BOOL, const wchar_t*)>(
        reinterpret_cast<void*>(module ? GetProcAddress(module, "DllInstall") : nullptr));
    if (!install) {
        throw ToolError{ExitCode::NoCamera, "there is no device kit beside camctl", "put devicekit.dll there",
                        0};
    }
    const HRESULT result = install(on, L"webcam");
    FreeLibrary(module);
    if (FAILED(result)) {
        throw ToolError{ExitCode::InvalidArgument, "the list of webcams could not be changed",
                        "run it with the right to change HKEY_CLASSES_ROOT, and register devicekit.dll",
                        result};
    }
    PrintResult(asJson, {{"ok", true}, {"webcam", on}},
                on ? "the kit is a webcam: Device kit webcam\n" : "the kit is no webcam any more\n");
}

}  // namespace camctl
