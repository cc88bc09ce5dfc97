// Resume notifications. While anybody wants them a thread of this file's own has a hidden top-level window,
// which receives the system's broadcast (a message-only window would not) and writes a message into every
// queue.
#include "platform/platform.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "base/message_wait.h"
#include "base/unique_resource.h"
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

struct WindowThread {
    UniqueHandle handle;
    DWORD id = 0;
};

// Held while the window's thread is brought up or taken down; that thread never takes it.
Guarded<WindowThread> theThread;

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
    if (message != WM_POWERBROADCAST) return DefWindowProcW(window, message, wParam, lParam);
    if (wParam == PBT_APMRESUMEAUTOMATIC) TellEverybody();
    return TRUE;
}

HINSTANCE OwnModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&WindowProcedure), &module);
    return module;
}

// Creates the window, reports, and serves it until WM_QUIT. The class goes with the window: the library may
// be unloaded and loaded elsewhere.
DWORD WINAPI ServeWindow(void* argument) {
    const HANDLE ready = argument;
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = OwnModule();
    windowClass.lpszClassName = kWindowClass;
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, kWindowClass, L"", WS_POPUP, 0,
                                        0, 0, 0, nullptr, nullptr, windowClass.hInstance, nullptr);
    if (window) {
        SetEvent(ready);
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
        DestroyWindow(window);
    }
    UnregisterClassW(kWindowClass, windowClass.hInstance);
    return window ? 0 : 1;
}

// False: there is no window.
bool Start(WindowThread& thread) {
    const UniqueHandle ready(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!ready) return false;
    UniqueHandle handle(CreateLibraryThread(ServeWindow, ready.get(), &thread.id));
    if (!handle) return false;
    const HANDLE either[] = {ready.get(), handle.get()};
    if (WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    thread.handle = std::move(handle);
    return true;
}

// The window's thread ends with the last who wants to be told.
void EndIfUnwanted(WindowThread& thread) {
    if (!theRegistrations.Locked()->empty()) return;
    PostThreadMessageW(thread.id, WM_QUIT, 0, 0);
    WaitLettingSentMessagesIn(thread.handle.get());
    thread.handle.reset();
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
    const auto thread = theThread.Locked();
    if (!thread->handle && !Start(*thread)) return nullptr;
    const HANDLE notification = Add(queue);
    if (!notification) {
        EndIfUnwanted(*thread);
        SetLastError(ERROR_OUTOFMEMORY);
    }
    return notification;
}

DWORD StopPowerNotifications(HANDLE notification) {
    const auto thread = theThread.Locked();
    {
        const auto registrations = theRegistrations.Locked();
        const auto found = std::find_if(registrations->begin(), registrations->end(),
                                        [=](const auto& one) { return one.get() == notification; });
        if (found == registrations->end()) return ERROR_INVALID_HANDLE;
        registrations->erase(found);
    }
    EndIfUnwanted(*thread);
    return ERROR_SUCCESS;
}

}  // namespace cam::platform
