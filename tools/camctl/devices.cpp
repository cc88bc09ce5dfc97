#include <windows.h>

#include <ocellus/camera.hpp>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <utility>
#include <vector>

#include "commands.h"
#include "library.h"
#include "text.h"

namespace camctl {

namespace {

std::string FourccText(DWORD fourcc) {
    std::string text;
    for (int i = 0; i < 4; ++i) text += static_cast<char>(fourcc >> 8 * i);
    return text;
}

}  // namespace

std::vector<camDevice> ListDevices() {
    auto devices = ocellus::Devices();
    Require(devices.Code(), "listing the cameras");
    return std::move(devices).Or({});
}

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
    RequireLibrary();
    const std::vector<camDevice> devices = ListDevices();
    for (size_t index = 0; index < devices.size(); ++index) {
        const camDevice& device = devices[index];
        const char* const type = device.type == CAM_DEVICE_WEBCAM ? "webcam" : "driver";
        Json camera = {{"name", ToUtf8(device.name)}, {"identity", ToUtf8(device.identity)}, {"type", type}};
        text += std::to_string(index) + "  " + type + "  " + ToUtf8(device.name) + "\n             " +
                ToUtf8(device.identity) + "\n";
        if (withFormats) {
            camera["formats"] = Json::array();
            ShowProgress("opening " + ToUtf8(device.name));
            for (const camDeviceFormat& format : ocellus::DeviceFormats(device.identity).Or({})) {
                camera["formats"].push_back(FormatJson(format));
                text += "             " + FormatText(format) + "\n";
            }
        }
        cameras.push_back(camera);
    }
    ShowProgress("");
    if (devices.empty()) text = "there is no camera\n";
    PrintResult(asJson, {{"ok", true}, {"cameras", cameras}}, text);
}

namespace {

constexpr UINT kDeviceNotice = WM_APP;

// Whom the notices are posted to, and no longer than this lives.
class NoticeWindow {
  public:
    NoticeWindow()
        : window(CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
        Require(camWatchDevices(window, kDeviceNotice), "watching the webcams");
    }
    ~NoticeWindow() {
        camWatchDevices(nullptr, 0);
        DestroyWindow(window);
    }
    NoticeWindow(const NoticeWindow&) = delete;
    NoticeWindow& operator=(const NoticeWindow&) = delete;

  private:
    HWND window;
};

// A notice says that a webcam came or went, the lists before and after say which.
Json Changes(const std::vector<camDevice>& before, const std::vector<camDevice>& after) {
    const auto lacks = [](const std::vector<camDevice>& list, const camDevice& device) {
        return std::none_of(list.begin(), list.end(), [&](const camDevice& other) {
            return wcscmp(other.identity, device.identity) == 0;
        });
    };
    Json changes = Json::array();
    const auto note = [&](const char* what, const camDevice& device) {
        changes.push_back(
            {{"what", what}, {"name", ToUtf8(device.name)}, {"identity", ToUtf8(device.identity)}});
    };
    for (const camDevice& device : before) {
        if (lacks(after, device)) note("removed", device);
    }
    for (const camDevice& device : after) {
        if (lacks(before, device)) note("arrived", device);
    }
    return changes;
}

}  // namespace

void Watch(double seconds, bool asJson) {
    RequireLibrary();
    const NoticeWindow notices;
    std::vector<camDevice> devices = ListDevices();
    Json all = Json::array();
    if (!asJson) printf("%s; watching\n", Counted(static_cast<long>(devices.size()), "camera").c_str());
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(seconds * 1000);
    while (seconds == 0 || GetTickCount64() < end) {
        fflush(stdout);
        constexpr DWORD kLookMs = 100;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, kLookMs, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
            if (message.message != kDeviceNotice) continue;
            std::vector<camDevice> now = ListDevices();
            for (const Json& change : Changes(devices, now)) {
                all.push_back(change);
                if (asJson) continue;
                printf("%s: %s (%s)\n", change["what"].get<std::string>().c_str(),
                       change["name"].get<std::string>().c_str(),
                       change["identity"].get<std::string>().c_str());
            }
            devices = std::move(now);
        }
    }
    if (asJson) PrintResult(true, {{"ok", true}, {"changes", all}}, "");
}

void SwitchKitWebcam(bool on, bool asJson) {
    // Beside this program, as the library that it links to.
    const HMODULE module = LoadLibraryW((ProgramFolder() + L"devicekit.dll").c_str());
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
