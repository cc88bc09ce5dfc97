#include "config/camera_settings.h"

#include "config/settings_store.h"

namespace cam::config {

static_assert(sizeof(LONG) == sizeof(int32_t), "settings are 32-bit integers");

CameraSettingRequests RequestCameraSettings(const wchar_t* section, CameraSettings& settings) {
    CameraSettingRequests requests = {};
    for (size_t i = 0; i < requests.size(); ++i) {
        requests[i].section = section;
        requests[i].key = kCameraSettings[i].key;
        requests[i].destination = &(settings.*kCameraSettings[i].field);
    }
    return requests;
}

int ReadCameraSettings(const wchar_t* path, CameraSettings* settings, const wchar_t* section) {
    CameraSettingRequests requests = RequestCameraSettings(section, *settings);
    return settingsStore.ReadSettings(path, requests) == 0 ? 0 : -1;
}

}  // namespace cam::config
