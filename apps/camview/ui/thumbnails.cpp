#include "ui/thumbnails.h"

#include <shellapi.h>

#include <algorithm>
#include <cwchar>

namespace camview {

namespace {

constexpr size_t kMaxShown = 40;

std::wstring Label(const PictureFiled& picture) {
    wchar_t label[80];
    const unsigned long long kilobytes = (picture.bytes + 1023) / 1024;
    swprintf(label, 80, L"%02u:%02u:%02u, %llu KB", picture.time.wHour, picture.time.wMinute,
             picture.time.wSecond, kilobytes);
    return label;
}

}  // namespace

Thumbnails::Thumbnails(HWND parent, Viewer& owner) : Page(parent, owner) {
    constexpr DWORD kRadio = BS_AUTORADIOBUTTON | WS_TABSTOP;
    fit = Page::Add(L"BUTTON", Say(Text::FitPicture), kRadio | WS_GROUP, kFit);
    original =
        Page::Add(L"BUTTON", Say(Text::OriginalSize), kRadio & ~static_cast<DWORD>(WS_TABSTOP), kOriginal);
    hint = Page::Add(L"STATIC", Say(Text::NoPictures), SS_LEFT | SS_NOPREFIX | SS_PATHELLIPSIS | WS_GROUP, 0);
    openFile = AddButton(Text::OpenFile, kOpenFile);
    openFolder = AddButton(Text::OpenFolder, kOpenFolder);
    AddName(Say(Text::Taken));
    list = Page::Add(WC_LISTVIEWW, Say(Text::Taken),
                     LVS_ICON | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_ALIGNLEFT | LVS_AUTOARRANGE |
                         LVS_SHAREIMAGELISTS | WS_TABSTOP,
                     kList, WS_EX_CLIENTEDGE);
    EnableWindow(openFile, FALSE);
}

Thumbnails::~Thumbnails() {
    for (const Shown& one : shown) DeleteObject(one.bitmap);
    ImageList_Destroy(images);
}

void Thumbnails::ShowZoom(Zoom zoom) {
    SendMessageW(zoom == Zoom::Fit ? fit : original, BM_SETCHECK, BST_CHECKED, 0);
}

void Thumbnails::Layout() {
    RECT client;
    GetClientRect(window, &client);
    const int margin = Px(8), height = Px(26), top = Px(4);
    const auto place = [&](HWND control, int x, int width, int down) {
        SetWindowPos(control, nullptr, x, top + down, width, height - 2 * down,
                     SWP_NOZORDER | SWP_NOACTIVATE);
    };
    place(fit, margin, Px(48), Px(2));
    place(original, margin + Px(52), Px(48), Px(2));
    int right = client.right - margin;
    place(openFolder, right - Px(96), Px(96), 0);
    right -= Px(102);
    place(openFile, right - Px(84), Px(84), 0);
    right -= Px(96);
    place(hint, margin + Px(112), std::max(0, right - margin - Px(112)), Px(5));
    const int listTop = top + height + Px(4);
    SetWindowPos(list, nullptr, 0, listTop, client.right, client.bottom - listTop,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void Thumbnails::Add(const PictureFiled& picture) {
    shown.push_front({picture.file, Label(picture), picture.thumbnail});
    if (shown.size() > kMaxShown) {
        DeleteObject(shown.back().bitmap);
        shown.pop_back();
    }
    Fill();
    SetWindowTextW(hint, picture.file.c_str());
    EnableWindow(openFile, TRUE);
}

// Anew each time: pictures are few, and the size may have changed with the screen.
void Thumbnails::Fill() {
    const SIZE size = PictureSize();
    const HIMAGELIST before = images;
    images = ImageList_Create(size.cx, size.cy, ILC_COLOR32, static_cast<int>(shown.size()), 1);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    SendMessageW(list, LVM_SETIMAGELIST, LVSIL_NORMAL, reinterpret_cast<LPARAM>(images));
    SendMessageW(list, LVM_SETICONSPACING, 0, MAKELPARAM(size.cx + Px(24), size.cy + Px(24)));
    ImageList_Destroy(before);
    for (const Shown& one : shown) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT | LVIF_IMAGE;
        item.iItem = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
        item.pszText = const_cast<wchar_t*>(one.label.c_str());
        BITMAP bitmap = {};
        GetObjectW(one.bitmap, sizeof bitmap, &bitmap);
        const bool fits = bitmap.bmWidth == size.cx && bitmap.bmHeight == size.cy;
        HBITMAP scaled = fits
                             ? one.bitmap
                             : static_cast<HBITMAP>(CopyImage(one.bitmap, IMAGE_BITMAP, size.cx, size.cy, 0));
        item.iImage = ImageList_Add(images, scaled, nullptr);
        if (!fits) DeleteObject(scaled);
        SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
}

int Thumbnails::Chosen() const {
    const int chosen =
        static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
    return chosen < 0 && !shown.empty() ? 0 : chosen;
}

void Thumbnails::OpenFile() {
    if (const int chosen = Chosen(); chosen >= 0) {
        const std::wstring& file = shown[static_cast<size_t>(chosen)].file;
        ShellExecuteW(window, L"open", file.c_str(), nullptr, nullptr, SW_SHOW);
    }
}

void Thumbnails::OpenFolder() {
    std::wstring folder = viewer.Settings().folder;
    if (const int chosen = Chosen(); chosen >= 0) {
        const std::wstring& file = shown[static_cast<size_t>(chosen)].file;
        folder = file.substr(0, file.find_last_of(L"\\/") + 1);
    }
    ShellExecuteW(window, L"open", folder.empty() ? L"." : folder.c_str(), nullptr, nullptr, SW_SHOW);
}

void Thumbnails::OnEnter(HWND control) {
    if (control == list) OpenFile();
}

void Thumbnails::OnCommand(int id, int code, HWND) {
    if (code != BN_CLICKED) return;
    if (id == kOpenFile) OpenFile();
    if (id == kOpenFolder) OpenFolder();
    if (id == kFit || id == kOriginal)
        PostMessageW(GetParent(window), WM_COMMAND, static_cast<WPARAM>(id), 0);
}

LRESULT Thumbnails::OnNotify(const NMHDR& header) {
    if (header.hwndFrom != list) return 0;
    if (header.code == NM_DBLCLK) OpenFile();
    if (header.code == LVN_ITEMCHANGED) {
        if (const int chosen = Chosen(); chosen >= 0)
            SetWindowTextW(hint, shown[static_cast<size_t>(chosen)].file.c_str());
    }
    return 0;
}

}  // namespace camview
