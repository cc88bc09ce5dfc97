#include "dshow_camera/settings_applier.h"

#include <ocellus/cam.h>

#include "config/camera_settings.h"

namespace cam {
namespace {

bool Apply(const config::CameraSetting& setting, LONG value) {
    const camResult result = setting.property == config::kStillResolution
                                 ? camSetResolution(value)
                                 : camSetProperty(setting.property, value, CAM_FLAG_MANUAL);
    return result == camOk;
}

}  // namespace

HRESULT ApplySettings(const wchar_t* path, const wchar_t* section) {
    config::CameraSettings settings;
    if (config::ReadCameraSettings(path, &settings, section) != 0) return kSettingsNotApplied;
    for (const config::CameraSetting& setting : config::kCameraSettings) {
        if (!Apply(setting, settings.*setting.field)) return kSettingsNotApplied;
    }
    return S_OK;
}

}  // namespace cam
