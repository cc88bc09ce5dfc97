#include "dshow_camera/settings_applier.h"

#include <ocellus/cam.h>

#include "config/camera_settings.h"

namespace cam {
namespace {

bool SetManually(int id, LONG value) {
    return camSetProperty(id, value, CAM_FLAG_MANUAL) == camOk;
}

}  // namespace

// The order counts: what comes after a setting that fails stays as the driver has it.
HRESULT ApplySettings(const wchar_t* path, const wchar_t* section) {
    config::CameraSettings settings;
    if (config::ReadCameraSettings(path, &settings, section) != 0) return kSettingsNotApplied;
    const bool applied = SetManually(CAM_PROPERTY_BRIGHTNESS, settings.brightness) &&
                         SetManually(CAM_PROPERTY_FOCUS, settings.autofocus) &&
                         SetManually(CAM_PROPERTY_FLASH, settings.flash) &&
                         camSetResolution(settings.resolution) == camOk &&
                         SetManually(CAM_PROPERTY_COLOR_ENABLE, settings.color) &&
                         SetManually(CAM_PROPERTY_FOCUS_MINIMUM, settings.focusMinimum) &&
                         SetManually(CAM_PROPERTY_FOCUS_MAXIMUM, settings.focusMaximum) &&
                         SetManually(CAM_PROPERTY_FOCUS_STEP, settings.focusStep) &&
                         SetManually(CAM_PROPERTY_FOCUS_FIXED, settings.focusFixed) &&
                         SetManually(CAM_PROPERTY_ZOOM, settings.zoom);
    return applied ? S_OK : kSettingsNotApplied;
}

}  // namespace cam
