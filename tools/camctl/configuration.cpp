// What configuration files hold, without a camera.
#include "config/camera_settings.h"
#include "config/ini_file.h"
#include "config/settings_store.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "library.h"
#include "text.h"

namespace camctl {

namespace {

using cam::config::CameraSetting;
using cam::config::CameraSettings;
using cam::config::kCameraSettings;
using cam::config::SettingsFile;
using cam::config::SettingsFileType;
using cam::config::settingsStore;

std::string WhatItSets(const CameraSetting& setting) {
    return setting.property == cam::config::kStillResolution ? "still resolution"
                                                             : "property " + std::to_string(setting.property);
}

void RequireFile(const std::string& file) {
    const DWORD attributes = GetFileAttributesW(ToWide(file).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) return;
    throw ToolError{ExitCode::InvalidArgument, "there is no file '" + file + "'", "check the path"};
}

const char* TypeName(SettingsFileType type) {
    switch (type) {
        case SettingsFileType::Xml:
            return "XML";
        case SettingsFileType::XmlBesideIni:
            return "XML, with an .ini file beside it that is not read";
        case SettingsFileType::Ini:
            return "INI";
    }
    return "unknown";
}

// As the library finds it: the path may lack its extension.
SettingsFile FindSettingsFile(const std::string& file) {
    const std::wstring path = ToWide(file);
    if (path.size() > SettingsFile::kMaxPath) {
        throw ToolError{ExitCode::InvalidArgument, "the path '" + file + "' is longer than 260 characters",
                        "move the file, or start in its folder"};
    }
    const SettingsFile found = settingsStore.Classify(path.c_str());
    RequireFile(ToUtf8(found.path));
    return found;
}

}  // namespace

void RequireSettingsFile(const std::string& file) {
    FindSettingsFile(file);
}

void Settings(const std::string& file, const std::string& section, bool asJson) {
    const SettingsFile found = FindSettingsFile(file);
    const std::wstring path = ToWide(file);
    CameraSettings settings;
    const CameraSettings defaults;
    const std::wstring wideSection = ToWide(section);
    auto requests = cam::config::RequestCameraSettings(wideSection.c_str(), settings);
    if (settingsStore.ReadSettings(path.c_str(), requests) != 0) {
        throw ToolError{ExitCode::InvalidArgument,
                        "'" + ToUtf8(found.path) + "' cannot be read as " + TypeName(found.type),
                        "check that it is a settings file: INI text, or XML without entities"};
    }

    Json list = Json::array();
    std::string text = ToUtf8(found.path) + " (" + TypeName(found.type) + "), section " + section + "\n";
    bool anyFound = false;
    for (size_t i = 0; i < requests.size(); ++i) {
        const CameraSetting& setting = kCameraSettings[i];
        const std::string sets = WhatItSets(setting);
        const bool isFound = requests[i].found != 0;
        anyFound |= isFound;
        const LONG value = settings.*setting.field;
        const std::string key = ToUtf8(setting.key);
        list.push_back({{"key", key},
                        {"value", value},
                        {"origin", isFound ? "file" : "default"},
                        {"default", defaults.*setting.field},
                        {"sets", sets}});
        char line[120];
        snprintf(line, sizeof line, "%-10s %6ld  %-8s (default %ld)  sets %s\n", key.c_str(), value,
                 isFound ? "file" : "default", defaults.*setting.field, sets.c_str());
        text += line;
    }
    if (!anyFound) text += "nothing was found in this section: is its name right?\n";
    PrintResult(asJson,
                {{"ok", true},
                 {"file", ToUtf8(found.path)},
                 {"type", TypeName(found.type)},
                 {"section", section},
                 {"settings", list}},
                text);
}

void SaveSettings(const CameraOptions& options, const std::string& file, const std::string& section,
                  bool replace, bool asJson) {
    const std::wstring path = ToWide(file);
    const std::wstring wideSection = ToWide(section);
    if (!replace && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        throw ToolError{ExitCode::InvalidArgument, "there is a file '" + file + "' already",
                        "name another, or add --replace: all of its sections are lost then"};
    }
    const CameraSession session(options);
    CameraSettings settings;
    std::vector<cam::config::SettingsRequest> written;
    const auto requests = cam::config::RequestCameraSettings(wideSection.c_str(), settings);
    Json list = Json::array();
    std::string text;
    for (size_t i = 0; i < requests.size(); ++i) {
        const CameraSetting& setting = kCameraSettings[i];
        LONG& value = settings.*setting.field;
        long flags = 0;
        // What the camera does not have is left to the default.
        if (setting.property != cam::config::kStillResolution) {
            if (camGetProperty(setting.property, &value, &flags) != camOk) continue;
        } else {
            Size size = {};
            const std::vector<Size> sizes = session.Resolutions();
            if (camGetResolutionDimensions(&size.height, &size.width, -1) != camOk) continue;
            value = static_cast<LONG>(std::find(sizes.begin(), sizes.end(), size) - sizes.begin());
        }
        written.push_back(requests[i]);
        list.push_back({{"key", ToUtf8(setting.key)}, {"value", value}, {"sets", WhatItSets(setting)}});
        text += ToUtf8(setting.key) + "=" + std::to_string(value) + "\n";
    }
    if (cam::config::WriteIniFile(path.c_str(), written) != 0) {
        throw ToolError{
            ExitCode::InvalidArgument, "'" + file + "' cannot be written",
            "check that its folder exists and may be written; name the section in the machine's own "
            "alphabet"};
    }
    PrintResult(asJson, {{"ok", true}, {"file", file}, {"section", section}, {"settings", list}},
                "[" + section + "] in " + file + "\n" + text);
}

void Profiles(const std::string& file, bool asJson) {
    RequireLibrary();
    RequireFile(file);
    wchar_t** slots = nullptr;
    camGetProfiles(ToWide(file).c_str(), &slots);
    if (!slots) {
        throw ToolError{ExitCode::InvalidArgument, "'" + file + "' has no list of profiles",
                        "it must be a ConfigDoc document with a section \"Profiles\" of at most 32 children"};
    }
    Json list = Json::array();
    std::string text;
    const wchar_t* last = nullptr;
    for (int i = 0; i < CAM_PROFILE_SLOTS; ++i) {
        if (!slots[i]) continue;
        list.push_back({{"slot", i}, {"name", ToUtf8(slots[i])}});
        text += std::to_string(i) + "  " + ToUtf8(slots[i]) + "\n";
    }
    for (int i = 0; i < CAM_PROFILE_SLOTS; ++i) {
        if (!slots[i] || slots[i] == last) continue;  // a profile without a name shares the one before it
        last = slots[i];
        free(slots[i]);
    }
    free(slots);
    PrintResult(asJson, {{"ok", true}, {"profiles", list}}, text.empty() ? "no profiles\n" : text);
}

}  // namespace camctl
