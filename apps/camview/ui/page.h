// A page of controls, and how they are laid out: rows of a label and what it names.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <initializer_list>
#include <string>

#include "model/texts.h"
#include "ui/screen.h"
#include "ui/viewer.h"

namespace camview {

// A child window; its controls send it what happens to them.
class Page {
  public:
    Page(HWND parent, Viewer& viewer);
    virtual ~Page() = default;
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    HWND Window() const { return window; }
    // The window is on another screen.
    void SetScreen();
    // Places the controls for the page's size and the screen's resolution.
    virtual void Layout() = 0;
    // The Enter key in one of its controls.
    virtual void OnEnter(HWND) {}
    // The focus has come to one of its controls.
    virtual void OnFocus(HWND) {}

  protected:
    HWND Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, int id, DWORD extended = 0);
    HWND AddLabel(Text text) { return Add(L"STATIC", Say(text), SS_LEFT, 0); }
    // A name for screen readers of the control that is added next, where no label is to be seen.
    void AddName(const std::wstring& name);
    HWND AddButton(Text text, int id) { return Add(L"BUTTON", Say(text), BS_PUSHBUTTON | WS_TABSTOP, id); }
    HWND AddCheck(Text text, int id) { return Add(L"BUTTON", Say(text), BS_AUTOCHECKBOX | WS_TABSTOP, id); }
    HWND AddList(int id);
    HWND AddEdit(int id, DWORD style = ES_AUTOHSCROLL);
    int Px(int length) const { return Scaled(length, dpi); }
    HWND Control(int id) const { return GetDlgItem(window, id); }

    virtual void OnCommand(int /*id*/, int /*code*/, HWND) {}
    virtual LRESULT OnNotify(const NMHDR&) { return 0; }
    virtual void OnScroll(UINT /*message*/, WPARAM, HWND) {}
    virtual void OnScreenChanged() {}
    virtual bool OnDraw(const DRAWITEMSTRUCT&) { return false; }

    Viewer& viewer;
    HWND window = nullptr;
    int dpi;
    HFONT font;
    int lineHeight;  // of the font
    // Of a field for one line of text.
    int FieldHeight() const { return lineHeight + Px(8); }

  private:
    static LRESULT CALLBACK Procedure(HWND, UINT, WPARAM, LPARAM);
};

// From the top of a page down. Lengths are for 96 dots an inch.
class Rows {
  public:
    static constexpr int kMargin = 12;
    static constexpr int kGap = 6;
    static constexpr int kHeight = 24;

    // `fieldHeight`: of fields for text, in pixels, since their text stands at the top.
    Rows(HWND page, int dotsPerInch, int fieldHeight, int labels = 92);

    struct Cell {
        HWND control;
        int width = 0;       // 0: what is left
        int listHeight = 0;  // of a drop-down list
    };
    // Controls from left to right; without a label they take the whole row.
    void Add(HWND label, std::initializer_list<Cell> cells, int height = kHeight);
    void Space(int height) { top += Scaled(height, dpi); }
    int Top() const { return top; }
    int Left() const { return left; }
    int Right() const { return right; }

  private:
    int dpi, fieldHeight, labelWidth, left, right, top;
};

std::wstring TextOf(HWND control);
// Nothing is drawn anew when it is the text that the control has.
void ShowText(HWND control, const std::wstring& text);
void FillList(HWND list, const std::vector<std::wstring>& entries, int chosen);
inline int ChosenOf(HWND list) {
    return static_cast<int>(SendMessageW(list, CB_GETCURSEL, 0, 0));
}
// A whole number; `otherwise` when there is none.
long NumberOf(HWND control, long otherwise);

}  // namespace camview
