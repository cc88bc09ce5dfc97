#include "harness.h"

#include <doctest/doctest.h>

#include <cstdio>

namespace {

constexpr wchar_t kWindowClass[] = L"OcellusSystemTest";

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == CAM_MESSAGE_STILL_CAPTURED && wParam == 0 && lParam == 0) {
        SetWindowLongPtrW(window, GWLP_USERDATA, GetWindowLongPtrW(window, GWLP_USERDATA) + 1);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeWindow(HWND parent, DWORD style, int width, int height) {
    return CreateWindowExW(0, kWindowClass, L"system test", style, 0, 0, width, height, parent, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
}

}  // namespace

int State() {
    int state = -1;
    camGetState(&state);
    return state;
}

void Play(const std::wstring& scenario) {
    wchar_t error[300] = L"";
    const BOOL played = kitLoadScenario(scenario.c_str(), error, 300);
    if (!played) printf("%ls\n", error);
    REQUIRE(played);
}

Windows::Windows() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassW(&windowClass);
    topWindow = MakeWindow(nullptr, WS_POPUP | WS_VISIBLE, 400, 300);
    ownerWindow = MakeWindow(topWindow, WS_CHILD | WS_VISIBLE, 320, 240);
    eventsWindow = MakeWindow(nullptr, WS_POPUP, 0, 0);
    REQUIRE(topWindow);
    REQUIRE(ownerWindow);
    REQUIRE(eventsWindow);
}

Windows::~Windows() {
    DestroyWindow(eventsWindow);
    DestroyWindow(topWindow);
}

int Windows::captured() const {
    return static_cast<int>(GetWindowLongPtrW(eventsWindow, GWLP_USERDATA));
}

Camera::Camera(const std::wstring& scenario)
    : initResult((Play(scenario), camInit(windows.owner(), nullptr, nullptr))) {
    camSetEventsWindow(windows.events());
}

Camera::~Camera() {
    camShutDown();
}
