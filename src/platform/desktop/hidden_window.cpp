#include "platform/desktop/hidden_window.h"

#include <objbase.h>

#include <utility>

#include "base/insist.h"
#include "platform/message_wait.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

struct Start {
    const HiddenWindow* window;
    HANDLE ready;
};

}  // namespace

HINSTANCE OwnModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&OwnModule), &module);
    return module;
}

DWORD WINAPI HiddenWindow::Serve(void* argument) {
    const Start start = *static_cast<Start*>(argument);
    const bool hasCom = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    start.window->ServeMessages(start.ready);
    if (hasCom) CoUninitialize();
    return 0;
}

// Creates the window, reports, and serves it until WM_QUIT. The class goes with the window: the library may
// be unloaded and loaded elsewhere.
void HiddenWindow::ServeMessages(HANDLE ready) const {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = OwnModule();
    windowClass.lpszClassName = className;
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, className, L"", WS_POPUP, 0, 0,
                                        0, 0, nullptr, nullptr, windowClass.hInstance, nullptr);
    if (window) {
        Signal(ready);
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
        DestroyWindow(window);
    }
    UnregisterClassW(className, windowClass.hInstance);
}

bool HiddenWindow::Open() {
    if (thread) return true;
    const UniqueHandle ready(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!ready) return false;
    Start start = {this, ready.get()};
    UniqueHandle started(CreateLibraryThread(Serve, &start, &threadId));
    if (!started) return false;
    const HANDLE either[] = {ready.get(), started.get()};
    // The thread reads `start`: a wait that the system refuses is tried again.
    DWORD waited;
    while ((waited = WaitForMultipleObjects(2, either, FALSE, INFINITE)) == WAIT_FAILED) Sleep(1);
    if (waited != WAIT_OBJECT_0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    thread = std::move(started);
    return true;
}

void HiddenWindow::Close() {
    if (!thread) return;
    // A message that comes in meanwhile may open the next one.
    const UniqueHandle ending = std::move(thread);
    const DWORD endingId = threadId;
    // A system that is short of something may refuse to post it.
    constexpr DWORD kAgainMs = 100;
    do {
        PostThreadMessageW(endingId, WM_QUIT, 0, 0);
    } while (WaitLettingSentMessagesIn(ending.get(), kAgainMs) == WAIT_TIMEOUT);
}

}  // namespace cam::platform
