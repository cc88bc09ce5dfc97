// The persisted camera settings and where they are read from.
#pragma once

#include <windows.h>

namespace cam::config {

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

// Reads the ten values from section `section` of the settings file `path` (INI or XML). A value that the
// file does not have leaves its field as it was. 0, or -1 when the file cannot be read.
int ReadCameraSettings(const wchar_t* path, CameraSettings* settings, const wchar_t* section);

}  // namespace cam::config
