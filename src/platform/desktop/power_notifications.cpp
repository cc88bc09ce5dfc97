// Resume notifications. While anybody wants them a hidden window receives the system's broadcast and writes a
// message into every queue.
#include "platform/platform.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "platform/desktop/hidden_window.h"
#include "platform/desktop/message_queue.h"

namespace cam::platform {
namespace {

constexpr wchar_t kWindowClass[] = L"OcellusPowerNotifications";

// What Windows CE writes into the queue, without a power state's name behind it.
struct PowerBroadcast {
    DWORD message;
    DWORD flags;
    DWORD length;  // bytes of the name that follows
    WCHAR systemPowerState[1];
};

struct Registration {
    HANDLE queue;
};

using Registrations = std::vector<std::unique_ptr<Registration>>;
Guarded<Registrations> theRegistrations;

void TellEverybody() {
    const PowerBroadcast resume = {kPowerResume, 0, 0, {0}};
    const auto registrations = theRegistrations.Locked();
    for (const auto& registration : *registrations) {
        WriteMsgQueue(registration->queue, &resume, sizeof resume);
    }
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    // A program that asks all windows to close does not mean this one.
    if (message == WM_CLOSE) return 0;
    if (message != WM_POWERBROADCAST) return DefWindowProcW(window, message, wParam, lParam);
    if (wParam == PBT_APMRESUMEAUTOMATIC) TellEverybody();
    return TRUE;
}

// Held while the window is opened or closed; its thread never takes it.
Guarded<HiddenWindow> theWindow{HiddenWindow(kWindowClass, WindowProcedure)};

// The window goes with the last who wants to be told.
void EndIfUnwanted(HiddenWindow& window) {
    if (theRegistrations.Locked()->empty()) window.Close();
}

HANDLE Add(HANDLE queue) try {
    const auto registrations = theRegistrations.Locked();
    registrations->push_back(std::make_unique<Registration>(Registration{queue}));
    return registrations->back().get();
} catch (const std::bad_alloc&) {
    return nullptr;
}

}  // namespace

HANDLE RequestPowerNotifications(HANDLE queue, DWORD flags) {
    if (!queue || !(flags & kPowerResume)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const auto window = theWindow.Locked();
    if (!window->Open()) return nullptr;
    const HANDLE notification = Add(queue);
    if (!notification) {
        EndIfUnwanted(*window);
        SetLastError(ERROR_OUTOFMEMORY);
    }
    return notification;
}

DWORD StopPowerNotifications(HANDLE notification) {
    const auto window = theWindow.Locked();
    {
        const auto registrations = theRegistrations.Locked();
        const auto found = std::find_if(registrations->begin(), registrations->end(),
                                        [=](const auto& one) { return one.get() == notification; });
        if (found == registrations->end()) return ERROR_INVALID_HANDLE;
        registrations->erase(found);
    }
    EndIfUnwanted(*window);
    return ERROR_SUCCESS;
}

}  // namespace cam::platform
