// What configuration files hold, without a camera.
#include "config/camera_settings.h"
#include "config/settings_store.h"

#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "text.h"

namespace camctl {

namespace {

using cam::config::CameraSettings;
using cam::config::SettingsFile;
using cam::config::SettingsFileType;
using cam::config::SettingsRequest;
using cam::config::SettingsStore;

// In the order in which camInit applies them.
struct Setting {
    const wchar_t* key;
    LONG CameraSettings::*field;
    const char* sets;
};
constexpr Setting kSettings[] = {
    {L"Brightness", &CameraSettings::brightness, "property 0"},
    {L"Autofocus", &CameraSettings::autofocus, "property 15"},
    {L"Flash", &CameraSettings::flash, "property 16"},
    {L"Resolution", &CameraSettings::resolution, "still resolution"},
    {L"Color", &CameraSettings::color, "property 6"},
    {L"FocusMin", &CameraSettings::focusMinimum, "property 61"},
    {L"FocusMax", &CameraSettings::focusMaximum, "property 60"},
    {L"FocusStep", &CameraSettings::focusStep, "property 59"},
    {L"FocusFixed", &CameraSettings::focusFixed, "property 62"},
    {L"Zoom", &CameraSettings::zoom, "property 12"},
};
constexpr size_t kSettingCount = std::size(kSettings);

void RequireFile(const std::string& file) {
    const DWORD attributes = GetFileAttributesW(ToWide(file).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) return;
    throw ToolError{kExitInvalidArgument, "there is no file '" + file + "'", "check the path"};
}

const char* TypeName(SettingsFileType type) {
    switch (type) {
        case SettingsFileType::kXml:
            return "XML";
        case SettingsFileType::kXmlBesideIni:
            return "XML, with an .ini file beside it that is not read";
        case SettingsFileType::kIni:
            return "INI";
    }
    return "unknown";
}

// As the library finds it: the path may lack its extension.
SettingsFile FindSettingsFile(const std::string& file) {
    const std::wstring path = ToWide(file);
    if (path.size() > SettingsFile::kMaximumPath) {
        throw ToolError{kExitInvalidArgument, "the path '" + file + "' is longer than 260 characters",
                        "move the file, or start in its folder"};
    }
    SettingsFile found;
    SettingsStore::Classify(path.c_str(), &found);
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
    SettingsRequest requests[kSettingCount] = {};
    for (size_t i = 0; i < kSettingCount; ++i) {
        requests[i].section = wideSection.c_str();
        requests[i].key = kSettings[i].key;
        requests[i].destination = &(settings.*kSettings[i].field);
    }
    if (SettingsStore::ReadSettings(path.c_str(), requests, static_cast<int>(kSettingCount)) != 0) {
        throw ToolError{kExitInvalidArgument,
                        "'" + ToUtf8(found.path) + "' cannot be read as " + TypeName(found.type),
                        "check that it is a settings file: INI text, or XML without entities"};
    }

    Json list = Json::array();
    std::string text = ToUtf8(found.path) + " (" + TypeName(found.type) + "), section " + section + "\n";
    bool anyFound = false;
    for (size_t i = 0; i < kSettingCount; ++i) {
        const bool isFound = requests[i].found != 0;
        anyFound |= isFound;
        const LONG value = settings.*kSettings[i].field;
        const std::string key = ToUtf8(kSettings[i].key);
        list.push_back({{"key", key},
                        {"value", value},
                        {"origin", isFound ? "file" : "default"},
                        {"default", defaults.*kSettings[i].field},
                        {"sets", kSettings[i].sets}});
        char line[120];
        snprintf(line, sizeof line, "%-10s %6ld  %-8s (default %ld)  sets %s\n", key.c_str(), value,
                 isFound ? "file" : "default", defaults.*kSettings[i].field, kSettings[i].sets);
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

void Profiles(const std::string& file, bool asJson) {
    RequireFile(file);
    wchar_t** slots = nullptr;
    camGetProfiles(ToWide(file).c_str(), &slots);
    if (!slots) {
        throw ToolError{kExitInvalidArgument, "'" + file + "' has no list of profiles",
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
