#include "ui/page.h"

#include <commctrl.h>

#include <cwchar>

namespace camview {

namespace {
constexpr wchar_t kClass[] = L"camview.page";

bool IsA(const wchar_t* kind, HWND control) {
    wchar_t name[16] = L"";
    GetClassNameW(control, name, 16);
    return _wcsicmp(name, kind) == 0;
}

}  // namespace

Page::Page(HWND parent, Viewer& owner)
    : viewer(owner), dpi(owner.Dpi()), font(owner.Font()), lineHeight(LineHeight(font)) {
    static const ATOM registered = [] {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = Procedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        windowClass.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
        windowClass.lpszClassName = kClass;
        return RegisterClassW(&windowClass);
    }();
    (void)registered;
    window = CreateWindowExW(WS_EX_CONTROLPARENT, kClass, L"", WS_CHILD | WS_CLIPCHILDREN, 0, 0, 0, 0, parent,
                             nullptr, GetModuleHandleW(nullptr), this);
}

LRESULT CALLBACK Page::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* const self = reinterpret_cast<Page*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self || !self->window) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case WM_SIZE:
            self->Layout();
            return 0;
        case WM_COMMAND:
            self->OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
            return 0;
        case WM_NOTIFY:
            return self->OnNotify(*reinterpret_cast<const NMHDR*>(lParam));
        case WM_HSCROLL:
        case WM_VSCROLL:
        case WM_MOUSEWHEEL:
            self->OnScroll(message, wParam, reinterpret_cast<HWND>(lParam));
            return 0;
        case WM_DRAWITEM:
            return self->OnDraw(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        case WM_CTLCOLORSTATIC:
        case WM_CTLCOLORBTN: {
            const HDC context = reinterpret_cast<HDC>(wParam);
            SetBkColor(context, GetSysColor(COLOR_WINDOW));
            SetTextColor(context, GetSysColor(COLOR_WINDOWTEXT));
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
        }
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

void Page::SetScreen() {
    dpi = viewer.Dpi();
    font = viewer.Font();
    lineHeight = LineHeight(font);
    SetFontOfChildren(window, font);
    OnScreenChanged();
    Layout();
}

HWND Page::Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, int id, DWORD extended) {
    const HWND control = CreateWindowExW(
        extended, windowClass, text.c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return control;
}

void Page::AddName(const std::wstring& name) {
    Add(L"STATIC", name, SS_LEFT, 0);
}

HWND Page::AddList(int id) {
    return Add(L"COMBOBOX", L"", CBS_DROPDOWNLIST | WS_TABSTOP | WS_VSCROLL, id);
}

namespace {
// A field of several lines asks for every key. The Tab key leaves it, as it leaves any other.
LRESULT CALLBACK LeaveByTab(HWND control, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR) {
    const LRESULT answer = DefSubclassProc(control, message, wParam, lParam);
    if (message == WM_GETDLGCODE && wParam == VK_TAB) return answer & ~(DLGC_WANTALLKEYS | DLGC_WANTTAB);
    return answer;
}
}  // namespace

HWND Page::AddEdit(int id, DWORD style) {
    const HWND edit = Add(L"EDIT", L"", style | WS_TABSTOP, id, WS_EX_CLIENTEDGE);
    if (style & ES_MULTILINE) SetWindowSubclass(edit, LeaveByTab, 0, 0);
    return edit;
}

Rows::Rows(HWND page, int dotsPerInch, int field, int labels)
    : dpi(dotsPerInch),
      fieldHeight(field),
      labelWidth(Scaled(labels, dotsPerInch)),
      left(0),
      right(0),
      top(0) {
    RECT client;
    GetClientRect(page, &client);
    left = Scaled(kMargin, dpi);
    right = client.right - left;
    top = left;
}

void Rows::Add(HWND label, std::initializer_list<Cell> cells, int height) {
    const int rowHeight = Scaled(height, dpi), gap = Scaled(kGap, dpi);
    int x = left;
    if (label) {
        // The text stands on the line of the field's text.
        SetWindowPos(label, nullptr, x, top + Scaled(4, dpi), labelWidth - gap, Scaled(kHeight - 4, dpi),
                     SWP_NOZORDER | SWP_NOACTIVATE);
        x += labelWidth;
    }
    int rest = right - x + gap;
    for (const Cell& cell : cells) rest -= Scaled(cell.width, dpi) + gap;
    for (const Cell& cell : cells) {
        const int width = cell.width ? Scaled(cell.width, dpi) : rest;
        const bool isField = height == kHeight && IsA(L"Edit", cell.control);
        // Words between fields stand on the line of their text.
        const bool isWord = height == kHeight && IsA(L"Static", cell.control);
        const int cellHeight = cell.listHeight ? Scaled(cell.listHeight, dpi)
                               : isField       ? fieldHeight
                                               : rowHeight;
        const int down = isField ? (rowHeight - fieldHeight) / 2 : isWord ? Scaled(4, dpi) : 0;
        SetWindowPos(cell.control, nullptr, x, top + down, width, cellHeight - (isWord ? down : 0),
                     SWP_NOZORDER | SWP_NOACTIVATE);
        x += width + gap;
    }
    top += rowHeight + gap;
}

std::wstring TextOf(HWND control) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

void ShowText(HWND control, const std::wstring& text) {
    if (TextOf(control) != text) SetWindowTextW(control, text.c_str());
}

// A list that is open in the user's hand is left as it is when its entries are the same.
void FillList(HWND list, const std::vector<std::wstring>& entries, int chosen) {
    bool isSame = entries.size() == static_cast<size_t>(SendMessageW(list, CB_GETCOUNT, 0, 0));
    for (size_t index = 0; isSame && index < entries.size(); ++index) {
        std::wstring text(static_cast<size_t>(SendMessageW(list, CB_GETLBTEXTLEN, index, 0)), L'\0');
        SendMessageW(list, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(text.data()));
        isSame = text == entries[index];
    }
    if (isSame && SendMessageW(list, CB_GETDROPPEDSTATE, 0, 0)) return;
    if (!isSame) {
        SendMessageW(list, CB_RESETCONTENT, 0, 0);
        for (const std::wstring& entry : entries)
            SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
    }
    SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(chosen), 0);
}

long NumberOf(HWND control, long otherwise) {
    const std::wstring text = TextOf(control);
    wchar_t* end = nullptr;
    const long number = std::wcstol(text.c_str(), &end, 10);
    return end != text.c_str() && *end == L'\0' ? number : otherwise;
}

}  // namespace camview
