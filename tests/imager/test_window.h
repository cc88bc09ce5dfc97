// A window that counts the library's messages.
#pragma once

#include <windows.h>

#include <functional>

#include <ocellus/cam.h>

#include "pump.h"

constexpr UINT kAsk = WM_APP + 1;  // sent by a callback; counted

class Window {
  public:
    Window() {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = Procedure;
        windowClass.lpszClassName = L"OcellusImagerTest";
        RegisterClassW(&windowClass);
        handle = CreateWindowW(L"OcellusImagerTest", L"", WS_POPUP | WS_VISIBLE, 0, 0, 320, 240, nullptr,
                               nullptr, nullptr, nullptr);
        SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~Window() { DestroyWindow(handle); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND get() const { return handle; }

    int captured = 0;
    WPARAM lastWParam = 1;
    LPARAM lastLParam = 1;
    int asked = 0;
    std::function<void()> onAsked;

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self && message == CAM_MESSAGE_STILL_CAPTURED) {
            ++self->captured;
            self->lastWParam = wParam;
            self->lastLParam = lParam;
        }
        if (self && message == kAsk) {
            ++self->asked;
            if (self->onAsked) self->onAsked();
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }

    HWND handle = nullptr;
};
