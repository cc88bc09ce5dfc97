#include "dshow_camera/handle_wait.h"

#include <doctest/doctest.h>

#include "base/unique_resource.h"
#include "dshow_camera/graph_access.h"
#include "refused_call.h"

using namespace cam;

namespace {

// What the window has been given, and a handle to be set by the message of this number.
int given;
int setAt;
HANDLE handleToSet;

LRESULT CALLBACK Count(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_APP && ++given == setAt) SetEvent(handleToSet);
    return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

TEST_CASE("a wait dispatches messages, one between two looks at the handles") {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = Count;
    windowClass.lpszClassName = L"HandleWaitTest";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                        nullptr, nullptr, nullptr);
    REQUIRE(window);
    const UniqueHandle first(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
        last(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    HandleWait wait;
    wait.Set(0, first.get());
    wait.Set(2, last.get());
    const auto post = [&](int count) {
        given = 0;
        for (int i = 0; i < count; ++i) PostMessageW(window, WM_APP, 0, 0);
    };

    post(3);
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
    const DWORD begun = GetTickCount();
    CHECK(wait.Wait(60) == WAIT_TIMEOUT);
    CHECK(GetTickCount() - begun >= 50);
    CHECK(given == 3);
    MSG message;
    CHECK_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));

    // What is signalled while messages are there is seen before the next of them.
    post(5);
    setAt = 2;
    handleToSet = last.get();
    CHECK(wait.Wait(INFINITE) == 2);
    CHECK(given == 2);
    SetEvent(first.get());
    SetEvent(last.get());
    CHECK(wait.Wait(INFINITE) == 0);
    CHECK(wait.Wait(0) == 2);
    CHECK(given == 2);

    DestroyWindow(window);
    UnregisterClassW(windowClass.lpszClassName, nullptr);
}

extern "C" decltype(&MsgWaitForMultipleObjectsEx) importOfMessageWait TEST_IMPORT(MsgWaitForMultipleObjectsEx,
                                                                                  20);

namespace {

DWORD WINAPI RefuseToWait(DWORD, const HANDLE*, DWORD, DWORD, DWORD) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return WAIT_FAILED;
}

struct Sender {
    HWND window;
    HANDLE done;
};

DWORD WINAPI SendOne(void* argument) {
    const auto& sender = *static_cast<Sender*>(argument);
    SendMessageW(sender.window, WM_NULL, 0, 0);
    return SetEvent(sender.done);
}

}  // namespace

TEST_CASE("where the system refuses to wait for messages, handles and messages are seen all the same") {
    const Redirected refusal(importOfMessageWait, RefuseToWait);
    const UniqueHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    HandleWait wait;
    wait.Set(1, event.get());
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
    CHECK(wait.Wait(50) == WAIT_TIMEOUT);
    MSG message;
    CHECK_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    SetEvent(event.get());
    CHECK(wait.Wait(INFINITE) == 1);
}

TEST_CASE("a wait that lets sent messages in leaves posted ones new") {
    const HWND window = CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    const UniqueHandle done(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    Sender sender = {window, done.get()};
    PostMessageW(window, WM_APP, 0, 0);
    const UniqueHandle thread(CreateThread(nullptr, 0, SendOne, &sender, 0, nullptr));
    REQUIRE(WaitLettingSentMessagesIn(done.get()) == WAIT_OBJECT_0);
    CHECK(MsgWaitForMultipleObjects(0, nullptr, FALSE, 1000, QS_ALLINPUT) == WAIT_OBJECT_0);
    REQUIRE(WaitForSingleObject(thread.get(), INFINITE) == WAIT_OBJECT_0);
    DestroyWindow(window);
}

TEST_CASE("a graph whose mutex cannot be waited for is not taken") {
    GraphMutex mutex;
    CHECK_FALSE(mutex.TryEnter());
    REQUIRE(SUCCEEDED(mutex.Create()));
    CHECK(mutex.TryEnter());
    mutex.Leave();
}
