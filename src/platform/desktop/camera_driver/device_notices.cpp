#include "platform/desktop/camera_driver/device_notices.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "platform/desktop/hidden_window.h"
#include "platform/platform.h"

namespace cam::driver {
namespace {

constexpr wchar_t kWindowClass[] = L"OcellusDeviceNotifications";

using Identities = std::vector<std::wstring>;

struct Watch {
    HWND window = nullptr;
    UINT message = 0;
    Identities present;
    Identities seen;  // since the watch began
};
Guarded<Watch> theWatch;

Identities ListIdentities() {
    Identities identities;
    for (const Webcam& webcam : ListWebcams()) identities.push_back(webcam.identity);
    return identities;
}

bool Has(const Identities& list, const std::wstring& identity) {
    return std::find(list.begin(), list.end(), identity) != list.end();
}

// The system says that something has changed, not what. Told only when there is memory for all of it.
void Compare() {
    Identities now = ListIdentities();
    const auto watch = theWatch.Locked();
    Identities seen = watch->seen;
    for (const std::wstring& identity : now) {
        if (!Has(seen, identity)) seen.push_back(identity);
    }
    const auto post = [&](DeviceNotice notice) {
        PostMessageW(watch->window, watch->message, static_cast<WPARAM>(notice), 0);
    };
    for (const std::wstring& identity : watch->present) {
        if (!Has(now, identity)) post(DeviceNotice::Removed);
    }
    for (const std::wstring& identity : now) {
        if (Has(watch->present, identity)) continue;
        post(Has(watch->seen, identity) ? DeviceNotice::Returned : DeviceNotice::Arrived);
    }
    watch->seen = std::move(seen);
    watch->present = std::move(now);
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    // A program that asks all windows to close does not mean this one.
    if (message == WM_CLOSE) return 0;
    if (message != WM_DEVICECHANGE) return DefWindowProcW(window, message, wParam, lParam);
    try {
        Compare();
    } catch (const std::bad_alloc&) {
        // Seen with the next change.
    }
    return TRUE;
}

// Held while the window is opened or closed; its thread never takes it.
Guarded<platform::HiddenWindow> theWindow{platform::HiddenWindow(kWindowClass, WindowProcedure)};

}  // namespace

void PostDeviceNotice(DeviceNotice notice) {
    const auto watch = theWatch.Locked();
    if (watch->window) PostMessageW(watch->window, watch->message, static_cast<WPARAM>(notice), 0);
}

}  // namespace cam::driver

namespace cam::platform {

BOOL WatchDevices(HWND window, UINT message) {
    using namespace driver;
    const auto hidden = theWindow.Locked();
    if (!window) {
        *theWatch.Locked() = {};
        hidden->Close();
        return TRUE;
    }
    const Identities now = ListIdentities();
    *theWatch.Locked() = {window, message, now, now};
    if (hidden->Open()) return TRUE;
    *theWatch.Locked() = {};
    return FALSE;
}

}  // namespace cam::platform
