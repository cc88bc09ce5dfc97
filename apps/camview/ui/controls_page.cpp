#include "ui/controls_page.h"

#include <algorithm>

#include <ocellus/cam_properties.hpp>

#include "ui/accessible_name.h"

namespace camview {

namespace {

constexpr int kRowHeight = 28;
constexpr int kTopHeight = 44;  // of the buttons, which do not scroll

bool IsSwitch(const PropertyInfo& info) {
    return info.range.minimum == 0 && info.range.maximum == 1;
}

long StepOf(const PropertyInfo& info) {
    return std::max(1L, info.range.step);
}

// The nearest value that the camera has.
long Nearest(const PropertyInfo& info, long value) {
    const long step = StepOf(info);
    const long long above = std::clamp(value, info.range.minimum, info.range.maximum) - info.range.minimum;
    const long long steps = (above + step / 2) / step;
    const long long most = (static_cast<long long>(info.range.maximum) - info.range.minimum) / step;
    return static_cast<long>(info.range.minimum + std::min(steps, most) * step);
}

}  // namespace

ControlsPage::ControlsPage(HWND parent, Viewer& owner) : Page(parent, owner) {
    SetWindowLongPtrW(window, GWL_STYLE, GetWindowLongPtrW(window, GWL_STYLE) | WS_VSCROLL);
    reset = AddButton(Text::ResetAll, kReset);
    save = AddButton(Text::SaveSettings, kSave);
    load = AddButton(Text::LoadSettings, kLoad);
    hint = AddLabel(Text::NoCameraYet);
    unnamed = AddCheck(Text::ShowUnnamed, kUnnamed);
    ShowWindow(unnamed, SW_HIDE);
}

void ControlsPage::ShowProperties(std::vector<PropertyInfo> properties) {
    const auto sameRange = [](const PropertyInfo& a, const PropertyInfo& b) {
        return a.id == b.id && a.range.minimum == b.range.minimum && a.range.maximum == b.range.maximum &&
               a.range.step == b.range.step && a.range.flags == b.range.flags &&
               a.range.defaultValue == b.range.defaultValue;
    };
    const bool isSame = std::equal(properties.begin(), properties.end(), all.begin(), all.end(), sameRange);
    all = std::move(properties);
    if (isSame) {
        for (const PropertyInfo& info : all) ShowValue(info.id, info.now);
        return;
    }
    scrolled = 0;
    MakeRows();
}

void ControlsPage::MakeRows() {
    RemoveRows();
    const auto hasName = [](const PropertyInfo& info) { return ocellus::FindProperty(info.id) != nullptr; };
    const auto nameless =
        std::count_if(all.begin(), all.end(), [&](const auto& info) { return !hasName(info); });
    const bool showsAll = SendMessageW(unnamed, BM_GETCHECK, 0, 0) == BST_CHECKED;
    SetWindowTextW(unnamed, SayCount(Text::ShowUnnamedOne, Text::ShowUnnamed, nameless).c_str());
    ShowWindow(unnamed, nameless > 0 ? SW_SHOW : SW_HIDE);
    for (const PropertyInfo& info : all) {
        if (hasName(info)) AddRow(info);
    }
    for (const PropertyInfo& info : all) {
        if (showsAll && !hasName(info)) AddRow(info);
    }
    SetWindowTextW(hint, all.empty() ? Say(Text::NoProperties) : L"");
    Layout();
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void ControlsPage::RemoveRows() {
    for (const Row& row : std::exchange(rows, {})) {
        for (const HWND control :
             {row.label, row.slider, row.numberName, row.number, row.onOff, row.automatic, row.toDefault}) {
            if (control) DestroyWindow(control);
        }
    }
}

void ControlsPage::AddRow(const PropertyInfo& info) {
    const int id = kFirstRow + info.id * kControlsInRow;
    const std::wstring name = SayProperty(info.id);
    Row row = {};
    row.info = info;
    row.label = Add(L"STATIC", name, SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, 0);
    if (IsSwitch(info)) {
        row.onOff = AddCheck(Text::On, id + kSwitch);
        GiveAccessibleName(row.onOff, Say(Text::NameOfOn, {name}));
    } else {
        row.slider = Add(TRACKBAR_CLASSW, name,
                         TBS_HORZ | TBS_BOTH | TBS_NOTICKS | TBS_FIXEDLENGTH | WS_TABSTOP, id + kSlider);
        const long steps = (info.range.maximum - info.range.minimum) / StepOf(info);
        SendMessageW(row.slider, TBM_SETRANGEMIN, FALSE, 0);
        SendMessageW(row.slider, TBM_SETRANGEMAX, FALSE, steps);
        SendMessageW(row.slider, TBM_SETLINESIZE, 0, 1);
        SendMessageW(row.slider, TBM_SETPAGESIZE, 0, std::max(1L, steps / 10));
        row.numberName = Add(L"STATIC", Say(Text::NameOfNumber, {name}), SS_LEFT, 0);
        row.number = AddEdit(id + kNumber, ES_AUTOHSCROLL | ES_RIGHT);
    }
    constexpr long kBoth = CAM_FLAG_AUTO | CAM_FLAG_MANUAL;
    if ((info.range.flags & kBoth) == kBoth) {
        row.automatic = AddCheck(Text::Auto, id + kAuto);
        GiveAccessibleName(row.automatic, Say(Text::NameOfAuto, {name}));
    }
    row.toDefault = AddButton(Text::Default, id + kDefault);
    GiveAccessibleName(row.toDefault, Say(Text::NameOfDefault, {name}));
    rows.push_back(row);
    ShowRow(rows.back());
}

void ControlsPage::ShowRow(const Row& row) {
    isFilling = true;
    const bool isAuto = row.automatic && row.info.now.flags == CAM_FLAG_AUTO;
    const long value = row.info.now.value;
    if (row.automatic) SendMessageW(row.automatic, BM_SETCHECK, isAuto, 0);
    if (row.onOff) {
        SendMessageW(row.onOff, BM_SETCHECK, value != 0, 0);
        EnableWindow(row.onOff, !isAuto);
    }
    if (row.slider) {
        SendMessageW(row.slider, TBM_SETPOS, TRUE, (value - row.info.range.minimum) / StepOf(row.info));
        EnableWindow(row.slider, !isAuto);
        EnableWindow(row.number, !isAuto);
        ShowText(row.number, std::to_wstring(value));
    }
    isFilling = false;
}

ControlsPage::Row* ControlsPage::RowOf(int id) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [id](const Row& row) { return row.info.id == id; });
    return found == rows.end() ? nullptr : &*found;
}

void ControlsPage::ShowValue(int id, ocellus::PropertyValue now) {
    for (PropertyInfo& info : all) {
        if (info.id == id) info.now = now;
    }
    Row* const row = RowOf(id);
    if (!row) return;
    row->info.now = now;
    // The hand on the slider is ahead of the camera.
    if (GetCapture() != row->slider || !row->slider) ShowRow(*row);
}

void ControlsPage::Layout() {
    RECT client;
    GetClientRect(window, &client);
    Rows top(window, dpi, FieldHeight());
    top.Add(nullptr, {{reset}, {save, 84}, {load, 84}}, Rows::kHeight + 2);
    const int first = Px(kTopHeight + 4) - scrolled;
    int y = first;
    SetWindowPos(hint, nullptr, top.Left(), y, all.empty() ? top.Right() - top.Left() : 0, Px(20),
                 SWP_NOZORDER);
    const int gap = Px(6), height = Px(24);
    const int labelWidth = Px(144), numberWidth = Px(50), autoWidth = Px(50), defaultWidth = Px(58);
    for (const Row& row : rows) {
        const bool isVisible = y >= Px(kTopHeight);
        const auto place = [&](HWND control, int x, int width, int down) {
            if (!control) return;
            SetWindowPos(control, nullptr, x, y + down, width, height - 2 * down,
                         SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS |
                             (isVisible ? SWP_SHOWWINDOW : SWP_HIDEWINDOW));
        };
        int right = top.Right();
        place(row.label, top.Left(), labelWidth - gap, Px(4));
        place(row.toDefault, right - defaultWidth, defaultWidth, 0);
        right -= defaultWidth + gap;
        place(row.automatic, right - autoWidth, autoWidth, Px(1));
        right -= autoWidth + gap;
        place(row.number, right - numberWidth, numberWidth, (height - FieldHeight()) / 2);
        right -= numberWidth + gap;
        if (row.slider) SendMessageW(row.slider, TBM_SETTHUMBLENGTH, static_cast<WPARAM>(Px(18)), 0);
        place(row.slider, top.Left() + labelWidth, right - top.Left() - labelWidth, 0);
        place(row.onOff, top.Left() + labelWidth, Px(60), Px(1));
        y += Px(kRowHeight);
    }
    SetWindowPos(unnamed, nullptr, top.Left(), y, top.Right() - top.Left(), height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    y += Px(kRowHeight);
    contentHeight = y - first + Px(kTopHeight + Rows::kMargin);
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
    info.nMax = contentHeight;
    info.nPage = static_cast<UINT>(client.bottom);
    info.nPos = scrolled;
    SetScrollInfo(window, SB_VERT, &info, TRUE);
}

void ControlsPage::ScrollTo(int wanted) {
    RECT client;
    GetClientRect(window, &client);
    wanted = std::clamp(wanted, 0, std::max(0, contentHeight - static_cast<int>(client.bottom)));
    if (wanted == scrolled) return;
    scrolled = wanted;
    Layout();
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

// What has the focus is to be seen, also when the Tab key brought it there.
void ControlsPage::OnFocus(HWND control) {
    const int id = GetDlgCtrlID(control);
    if (id < kFirstRow) return;
    const int property = (id - kFirstRow) / kControlsInRow;
    for (size_t index = 0; index < rows.size(); ++index) {
        if (rows[index].info.id != property) continue;
        RECT client;
        GetClientRect(window, &client);
        const int y = static_cast<int>(index) * Px(kRowHeight);
        const int visible = static_cast<int>(client.bottom) - Px(kTopHeight + kRowHeight + 8);
        if (y < scrolled) ScrollTo(y);
        if (y > scrolled + visible) ScrollTo(y - visible);
    }
}

void ControlsPage::Set(Row& row, long value, long flags) {
    viewer.Camera().SetProperty(row.info.id, value, flags);
    row.info.now = {value, flags};
    ShowRow(row);
}

void ControlsPage::TakeNumber(Row& row) {
    const long wanted = NumberOf(row.number, row.info.now.value);
    const long value = Nearest(row.info, wanted);
    if (value != row.info.now.value)
        Set(row, value, CAM_FLAG_MANUAL);
    else
        ShowRow(row);
}

void ControlsPage::OnEnter(HWND control) {
    const int id = GetDlgCtrlID(control);
    Row* const row = id < kFirstRow ? nullptr : RowOf((id - kFirstRow) / kControlsInRow);
    if (row && control == row->number) TakeNumber(*row);
}

void ControlsPage::OnCommand(int id, int code, HWND) {
    if (isFilling) return;
    switch (id) {
        case kReset:
            viewer.Camera().ResetProperties();
            return;
        case kSave:
            viewer.AskForPath(PathChosen::Purpose::SaveSettings);
            return;
        case kLoad:
            viewer.AskForPath(PathChosen::Purpose::LoadSettings);
            return;
        case kUnnamed:
            MakeRows();
            return;
        default:
            break;
    }
    Row* const row = id < kFirstRow ? nullptr : RowOf((id - kFirstRow) / kControlsInRow);
    if (!row) return;
    const bool isAuto = row->automatic && SendMessageW(row->automatic, BM_GETCHECK, 0, 0) == BST_CHECKED;
    switch ((id - kFirstRow) % kControlsInRow) {
        case kNumber:
            if (code == EN_KILLFOCUS) TakeNumber(*row);
            return;
        case kSwitch:
            Set(*row, SendMessageW(row->onOff, BM_GETCHECK, 0, 0) == BST_CHECKED, CAM_FLAG_MANUAL);
            return;
        case kAuto:
            Set(*row, row->info.now.value, isAuto ? CAM_FLAG_AUTO : CAM_FLAG_MANUAL);
            return;
        case kDefault:
            Set(*row, row->info.range.defaultValue,
                row->info.range.flags & CAM_FLAG_MANUAL ? CAM_FLAG_MANUAL : CAM_FLAG_AUTO);
            return;
        default:
            return;
    }
}

void ControlsPage::OnScroll(UINT message, WPARAM wParam, HWND control) {
    if (message == WM_MOUSEWHEEL) {
        ScrollTo(scrolled - GET_WHEEL_DELTA_WPARAM(wParam) * Px(kRowHeight) * 2 / WHEEL_DELTA);
        return;
    }
    if (message == WM_HSCROLL && control) {
        Row* const row = RowOf((GetDlgCtrlID(control) - kFirstRow) / kControlsInRow);
        if (!row || isFilling) return;
        const long position = static_cast<long>(SendMessageW(control, TBM_GETPOS, 0, 0));
        const long value = row->info.range.minimum + position * StepOf(row->info);
        if (value == row->info.now.value) return;
        viewer.Camera().SetProperty(row->info.id, value, CAM_FLAG_MANUAL);
        row->info.now = {value, CAM_FLAG_MANUAL};
        SetWindowTextW(row->number, std::to_wstring(value).c_str());
        return;
    }
    RECT client;
    GetClientRect(window, &client);
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_TRACKPOS;
    GetScrollInfo(window, SB_VERT, &info);
    const int page = client.bottom - Px(kTopHeight);
    switch (LOWORD(wParam)) {
        case SB_LINEUP:
            return ScrollTo(scrolled - Px(kRowHeight));
        case SB_LINEDOWN:
            return ScrollTo(scrolled + Px(kRowHeight));
        case SB_PAGEUP:
            return ScrollTo(scrolled - page);
        case SB_PAGEDOWN:
            return ScrollTo(scrolled + page);
        case SB_THUMBTRACK:
            return ScrollTo(info.nTrackPos);
        default:
            return;
    }
}

}  // namespace camview
