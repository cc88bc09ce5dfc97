#include "ui/preview_pane.h"

#include "model/texts.h"

namespace camview {

namespace {
constexpr wchar_t kClass[] = L"camview.preview";
}

PreviewPane::PreviewPane(HWND parent) {
    static const ATOM registered = [] {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = Procedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        windowClass.hbrBackground = CreateSolidBrush(RGB(32, 32, 36));  // the class's, as long as the process
        windowClass.lpszClassName = kClass;
        return RegisterClassW(&windowClass);
    }();
    (void)registered;
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    window =
        CreateWindowExW(0, kClass, Say(Text::Preview), WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_TABSTOP,
                        0, 0, 0, 0, parent, nullptr, instance, this);
    owner = CreateWindowExW(0, kClass, Say(Text::Preview), WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 0,
                            0, window, nullptr, instance, this);
}

LRESULT CALLBACK PreviewPane::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* const self = reinterpret_cast<PreviewPane*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
        case WM_SIZE:
            if (self && window == self->window) self->Layout();
            return 0;
        case WM_LBUTTONDOWN:
            if (self) SetFocus(self->window);
            return 0;
        // What the system hands up from the library's window, and what comes to this one: nothing may be
        // asked of the library here.
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

void PreviewPane::SetPicture(SIZE size) {
    picture = size;
    Layout();
}

void PreviewPane::SetZoom(Zoom wanted) {
    zoom = wanted;
    Layout();
}

void PreviewPane::Layout() {
    RECT pane;
    GetClientRect(window, &pane);
    const RECT place = PlacePicture(pane, picture, zoom);
    const int width = place.right - place.left, height = place.bottom - place.top;
    SetWindowPos(owner, nullptr, place.left, place.top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    if (const HWND video = GetWindow(owner, GW_CHILD)) {
        SetWindowPos(video, nullptr, 0, 0, width, height, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
    }
    InvalidateRect(window, nullptr, TRUE);
}

}  // namespace camview
