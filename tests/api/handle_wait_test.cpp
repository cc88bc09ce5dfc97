#include "dshow_camera/handle_wait.h"

#include <doctest/doctest.h>

#include "base/unique_resource.h"
#include "dshow_camera/graph_access.h"

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

TEST_CASE("a graph whose mutex cannot be waited for is not taken") {
    GraphMutex mutex;
    CHECK_FALSE(mutex.TryEnter());
    REQUIRE(SUCCEEDED(mutex.Create()));
    CHECK(mutex.TryEnter());
    mutex.Leave();
}
