// A camera's properties in a settings file of the library's own kind, which camSelect takes as well.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace camview {

inline constexpr wchar_t kSettingsSection[] = L"Camera";

struct SavedProperty {
    int id;  // kSavedResolution: the still resolution's index
    long value;
    bool isAuto = false;
};
inline constexpr int kSavedResolution = -1;

struct SavedSettings {
    long version = 1;
    std::vector<SavedProperty> properties;  // in the order in which they are to be set
};

inline constexpr long kSettingsVersion = 1;

// Replaces the file. False: it cannot be written, and what was there still is.
bool WriteCameraSettings(const std::wstring& file, const std::vector<SavedProperty>& properties);

// Nothing: there is no such file. A file that is no settings file has no properties.
std::optional<SavedSettings> ReadCameraSettings(const std::wstring& file);

}  // namespace camview
