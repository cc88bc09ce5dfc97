#include "model/camera_settings_file.h"

#include <sstream>

#include <ocellus/cam_properties.hpp>

#include "config/camera_settings.h"
#include "config/settings_store.h"
#include "model/replace_file.h"

namespace camview {

namespace {

using cam::config::kCameraSettings;
using cam::config::SettingsRequest;

constexpr wchar_t kVersionKey[] = L"Version";
constexpr wchar_t kAuto[] = L"Auto";

struct Key {
    int id;
    std::wstring name;
};

// "white-balance" is "WhiteBalance" in a file.
std::wstring KeyOf(const ocellus::PropertyName& property) {
    std::wstring key;
    bool upper = true;
    for (const char letter : property.name) {
        if (letter == '-') {
            upper = true;
            continue;
        }
        key += static_cast<wchar_t>(upper ? letter - 'a' + 'A' : letter);
        upper = false;
    }
    return key;
}

// The library's ten by its own keys and in its order, then the other properties by their names, those without
// one by their numbers.
std::vector<Key> AllKeys() {
    std::vector<Key> keys;
    std::vector<bool> known(CAM_PROPERTY_LAST + 1);
    for (const auto& setting : kCameraSettings) {
        keys.push_back({setting.property, setting.key});
        if (setting.property >= 0) known[static_cast<size_t>(setting.property)] = true;
    }
    for (int id = 0; id <= CAM_PROPERTY_LAST; ++id) {
        if (known[static_cast<size_t>(id)]) continue;
        const ocellus::PropertyName* const named = ocellus::FindProperty(id);
        keys.push_back({id, named ? KeyOf(*named) : L"Property" + std::to_wstring(id)});
    }
    return keys;
}

std::string Narrow(const std::wstring& key) {
    return {key.begin(), key.end()};
}

}  // namespace

bool WriteCameraSettings(const std::wstring& file, const std::vector<SavedProperty>& properties) {
    std::ostringstream text;
    text << "[" << Narrow(kSettingsSection) << "]\r\n"
         << Narrow(kVersionKey) << "=" << kSettingsVersion << "\r\n";
    for (const Key& key : AllKeys()) {
        for (const SavedProperty& property : properties) {
            if (property.id != key.id) continue;
            text << Narrow(key.name) << "=" << property.value << "\r\n";
            if (property.isAuto) text << Narrow(key.name + kAuto) << "=1\r\n";
        }
    }
    return ReplaceFileText(file, text.str());
}

std::optional<SavedSettings> ReadCameraSettings(const std::wstring& file) {
    if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) return std::nullopt;
    const std::vector<Key> keys = AllKeys();
    std::vector<std::wstring> autoKeys;
    autoKeys.reserve(keys.size());
    for (const Key& key : keys) autoKeys.push_back(key.name + kAuto);
    std::vector<int32_t> values(2 * keys.size() + 1);
    std::vector<SettingsRequest> requests;
    const auto ask = [&](const wchar_t* key) {
        requests.push_back({kSettingsSection, key, 0, &values[requests.size()], 0, 0, 0});
    };
    ask(kVersionKey);
    for (const Key& key : keys) ask(key.name.c_str());
    for (const std::wstring& key : autoKeys) ask(key.c_str());
    SavedSettings saved;
    if (cam::config::settingsStore.ReadSettings(file.c_str(), requests) != 0) return saved;
    if (requests[0].found) saved.version = values[0];
    for (size_t i = 0; i < keys.size(); ++i) {
        if (requests[1 + i].found)
            saved.properties.push_back({keys[i].id, values[1 + i], values[1 + keys.size() + i] != 0});
    }
    return saved;
}

}  // namespace camview
