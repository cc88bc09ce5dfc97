#include "ui/banner.h"

#include <algorithm>

namespace camview {

namespace {
constexpr COLORREF kBackground = RGB(255, 241, 205);
constexpr COLORREF kEdge = RGB(217, 128, 0);
constexpr COLORREF kInk = RGB(48, 36, 0);
}  // namespace

Banner::Banner(HWND parent, Viewer& owner) : Page(parent, owner) {
    // Its text is what, a line feed, and the remedy; drawn here, read by screen readers.
    message = Add(L"STATIC", L"", SS_OWNERDRAW, 0);
    tryAgain = AddButton(Text::TryAgain, kTryAgain);
    close = AddButton(Text::Close, kClose);
}

void Banner::Show(const Fault& fault) {
    canTryAgain = fault.canTryAgain;
    isShown = true;
    const std::wstring text = fault.what + L"\n" + fault.remedy;
    SetWindowTextW(message, text.c_str());
    SetWindowTextW(window, text.c_str());
    ShowWindow(tryAgain, canTryAgain ? SW_SHOW : SW_HIDE);
    ShowWindow(window, SW_SHOWNA);
    NotifyWinEvent(EVENT_SYSTEM_ALERT, window, OBJID_CLIENT, CHILDID_SELF);
    Layout();
    InvalidateRect(window, nullptr, TRUE);
}

void Banner::Hide() {
    isShown = false;
    ShowWindow(window, SW_HIDE);
}

void Banner::Layout() {
    RECT client;
    GetClientRect(window, &client);
    const int margin = Px(8), height = Px(26), width = Px(84);
    int right = client.right - margin;
    const int top = (client.bottom - height) / 2;
    for (const HWND button : {close, tryAgain}) {
        if (button == tryAgain && !canTryAgain) continue;
        SetWindowPos(button, nullptr, right - width, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
        right -= width + Px(6);
    }
    SetWindowPos(message, nullptr, 0, 0, right, client.bottom, SWP_NOZORDER | SWP_NOACTIVATE);
    InvalidateRect(message, nullptr, FALSE);
}

void Banner::OnCommand(int id, int, HWND) {
    if (id == kTryAgain) viewer.OpenCamera(viewer.Current());
    // Also after another attempt: what is still wrong is said anew.
    if (id == kClose || id == kTryAgain) PostMessageW(GetParent(window), WM_COMMAND, IDCANCEL, 0);
}

bool Banner::OnDraw(const DRAWITEMSTRUCT& item) {
    if (item.hwndItem != message) return false;
    RECT area = item.rcItem;
    SetDCBrushColor(item.hDC, kBackground);
    FillRect(item.hDC, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    RECT edge = area;
    edge.right = edge.left + Px(4);
    SetDCBrushColor(item.hDC, kEdge);
    FillRect(item.hDC, &edge, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    SetBkMode(item.hDC, TRANSPARENT);
    SetTextColor(item.hDC, kInk);
    const std::wstring text = TextOf(message);
    const HGDIOBJ before = SelectObject(item.hDC, font);
    InflateRect(&area, -Px(12), -Px(4));
    RECT needed = area;
    constexpr UINT kFormat = DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL;
    DrawTextW(item.hDC, text.c_str(), -1, &needed, kFormat | DT_CALCRECT);
    area.top += std::max<LONG>(0, (area.bottom - area.top - (needed.bottom - needed.top)) / 2);
    DrawTextW(item.hDC, text.c_str(), -1, &area, kFormat | DT_END_ELLIPSIS);
    SelectObject(item.hDC, before);
    return true;
}

}  // namespace camview
