// The persisted camera settings: what they are called in a file, where they are read from, and what they set.
#pragma once

#include <windows.h>

#include <array>
#include <iterator>

#include <ocellus/cam.h>

#include "config/settings_request.h"

namespace cam::config {

// A new record has the values that stand for what a file does not say.
struct CameraSettings {
    LONG brightness = 0;
    LONG autofocus = 1;
    LONG flash = 0;
    LONG resolution = 1;
    LONG color = 1;
    LONG focusMinimum = 100;
    LONG focusMaximum = 200;
    LONG focusStep = 8;
    LONG focusFixed = 150;
    LONG zoom = 1;
};

// In place of a property's number: the setting is the still resolution's index.
inline constexpr int kStillResolution = -1;

struct CameraSetting {
    const wchar_t* key;
    LONG CameraSettings::*field;
    int property;
};

// In the order in which they are applied, which counts: what comes after a setting that fails stays as the
// driver has it.
inline constexpr CameraSetting kCameraSettings[] = {
    {L"Brightness", &CameraSettings::brightness, CAM_PROPERTY_BRIGHTNESS},
    {L"Autofocus", &CameraSettings::autofocus, CAM_PROPERTY_FOCUS},
    {L"Flash", &CameraSettings::flash, CAM_PROPERTY_FLASH},
    {L"Resolution", &CameraSettings::resolution, kStillResolution},
    {L"Color", &CameraSettings::color, CAM_PROPERTY_COLOR_ENABLE},
    {L"FocusMin", &CameraSettings::focusMinimum, CAM_PROPERTY_FOCUS_MINIMUM},
    {L"FocusMax", &CameraSettings::focusMaximum, CAM_PROPERTY_FOCUS_MAXIMUM},
    {L"FocusStep", &CameraSettings::focusStep, CAM_PROPERTY_FOCUS_STEP},
    {L"FocusFixed", &CameraSettings::focusFixed, CAM_PROPERTY_FOCUS_FIXED},
    {L"Zoom", &CameraSettings::zoom, CAM_PROPERTY_ZOOM},
};

// One request for each entry of the table, each for its field of `settings`, which must outlive it.
using CameraSettingRequests = std::array<SettingsRequest, std::size(kCameraSettings)>;
CameraSettingRequests RequestCameraSettings(const wchar_t* section, CameraSettings& settings);

// Reads the ten values from section `section` of the settings file `path` (INI or XML). A value that the
// file does not have leaves its field as it was. 0, or -1 when the file cannot be read.
int ReadCameraSettings(const wchar_t* path, CameraSettings* settings, const wchar_t* section);

}  // namespace cam::config
