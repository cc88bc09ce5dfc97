#include "config/camera_settings.h"

#include <iterator>

#include "config/settings_store.h"

namespace cam::config {

static_assert(sizeof(LONG) == sizeof(int32_t), "settings are 32-bit integers");

int ReadCameraSettings(const wchar_t* path, CameraSettings* settings, const wchar_t* section) {
    const auto want = [section](const wchar_t* key, LONG* destination) {
        return SettingsRequest{section, key, 0, destination, 0, 0, 0};
    };
    SettingsRequest requests[] = {
        want(L"Autofocus", &settings->autofocus),   want(L"Brightness", &settings->brightness),
        want(L"Color", &settings->color),           want(L"Flash", &settings->flash),
        want(L"FocusMin", &settings->focusMinimum), want(L"FocusMax", &settings->focusMaximum),
        want(L"FocusStep", &settings->focusStep),   want(L"FocusFixed", &settings->focusFixed),
        want(L"Resolution", &settings->resolution), want(L"Zoom", &settings->zoom),
    };
    return SettingsStore::ReadSettings(path, requests, static_cast<int>(std::size(requests))) == 0 ? 0 : -1;
}

}  // namespace cam::config
