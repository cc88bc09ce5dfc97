// The exported functions of ocellus/cam_devices.h.
#include <ocellus/cam_devices.h>

#include <wchar.h>

#include <algorithm>
#include <new>

#include "dshow_camera/camera_device_search.h"
#include "platform/platform.h"

namespace {

using cam::CameraDeviceEntry;

constexpr size_t kMaxText = 260;  // characters, the terminating zero included

bool IsBadList(const void* entries, int capacity, const int* count) {
    return !count || capacity < 0 || (!entries && capacity > 0);
}

void CopyText(wchar_t (&out)[kMaxText], const std::wstring& text) {
    wcsncpy(out, text.c_str(), kMaxText - 1);
    out[kMaxText - 1] = 0;
}

// `device` fits a camera's legacy name as its identity does.
std::wstring LegacyNameOf(const wchar_t* device) {
    const std::vector<CameraDeviceEntry> devices = cam::ListCameraDevices();
    const CameraDeviceEntry* const found = cam::FindWanted(devices, device);
    return found ? found->legacyName : std::wstring();
}

LONG MilliRate(LONGLONG units, LONGLONG perSecond) {
    constexpr LONGLONG kMilli = 1000;
    return units > 0 ? static_cast<LONG>((perSecond * kMilli + units / 2) / units) : 0;
}

camDeviceFormat FormatOf(const cam::platform::StreamFormat& format) {
    constexpr LONGLONG kSecond = 10'000'000;
    return {format.fourcc, static_cast<LONG>(format.width), static_cast<LONG>(format.height),
            MilliRate(format.frameTime, kSecond)};
}

}  // namespace

extern "C" {

camResult WINAPI camListDevices(camDevice* devices, int capacity, int* count) try {
    if (IsBadList(devices, capacity, count)) return camInvalidArgument;
    const std::vector<CameraDeviceEntry> found = cam::ListCameraDevices();
    *count = static_cast<int>(found.size());
    for (int i = 0; i < std::min(*count, capacity); ++i) {
        const CameraDeviceEntry& entry = found[static_cast<size_t>(i)];
        devices[i].type = entry.isWebcam ? CAM_DEVICE_WEBCAM : CAM_DEVICE_DRIVER;
        CopyText(devices[i].name, entry.name);
        CopyText(devices[i].identity, entry.identity);
    }
    return camOk;
} catch (const std::bad_alloc&) {
    return camFailed;
}

camResult WINAPI camChooseDevice(const wchar_t* device) try {
    if (device && wcslen(device) >= kMaxText) return camInvalidArgument;
    cam::ChooseCameraDevice(device ? device : L"");
    return camOk;
} catch (const std::bad_alloc&) {
    return camFailed;
}

camResult WINAPI camListDeviceFormats(const wchar_t* device, camDeviceFormat* formats, int capacity,
                                      int* count) try {
    if (!device || IsBadList(formats, capacity, count)) return camInvalidArgument;
    const std::wstring name = LegacyNameOf(device);
    if (name.empty()) return camInvalidArgument;
    std::vector<cam::platform::StreamFormat> found;
    if (FAILED(cam::platform::ListDeviceFormats(name.c_str(), found))) return camFailed;
    *count = static_cast<int>(found.size());
    for (int i = 0; i < std::min(*count, capacity); ++i) formats[i] = FormatOf(found[static_cast<size_t>(i)]);
    return camOk;
} catch (const std::bad_alloc&) {
    return camFailed;
}

camResult WINAPI camGetStreamState(camStreamState* state) {
    if (!state) return camInvalidArgument;
    cam::platform::StreamState stream = {};
    if (!cam::platform::GetStreamState(&stream)) return camFailed;
    constexpr LONGLONG kMilliseconds = 1000;
    const LONG measured =
        stream.frames > 1 ? MilliRate(stream.milliseconds, LONGLONG{stream.frames - 1} * kMilliseconds) : 0;
    *state = {FormatOf(stream.format), stream.startResult, stream.frames,
              stream.brokenFrames,     measured,           stream.lost ? 1 : 0};
    return camOk;
}

camResult WINAPI camSetWarmUpFrames(int frames) {
    if (frames < 0) return camInvalidArgument;
    return cam::platform::SetWarmUpFrames(static_cast<DWORD>(frames)) ? camOk : camFailed;
}

camResult WINAPI camWatchDevices(HWND window, UINT message) try {
    return cam::platform::WatchDevices(window, message) ? camOk : camFailed;
} catch (const std::bad_alloc&) {
    return camFailed;
}

}  // extern "C"
