#include "dialogs.h"

#include <commdlg.h>
#include <shlobj.h>

#include "model/texts.h"
#include "system_function.h"

namespace camview {

namespace {
int CALLBACK BeginAt(HWND dialog, UINT message, LPARAM, LPARAM path) {
    if (message == BFFM_INITIALIZED) SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, path);
    return 0;
}
}  // namespace

std::wstring AskForFolder(HWND owner, const std::wstring& start) {
    BROWSEINFOW info = {};
    info.hwndOwner = owner;
    info.lpszTitle = Say(Text::BrowseFolder);
    info.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    info.lParam = reinterpret_cast<LPARAM>(start.c_str());
    info.lpfn = BeginAt;
    LPITEMIDLIST const chosen = SHBrowseForFolderW(&info);
    if (!chosen) return L"";
    wchar_t path[MAX_PATH] = L"";
    SHGetPathFromIDListW(chosen, path);
    CoTaskMemFree(chosen);
    return path;
}

std::wstring AskForFile(HWND owner, const wchar_t* name, const wchar_t* patterns, const wchar_t* extension,
                        bool toSave) {
    // Name and pattern by turns, each with its zero, and one more at the end.
    std::wstring filter;
    for (const wchar_t* part : {name, patterns, Say(Text::AllFiles), L"*.*"})
        filter.append(part).push_back(L'\0');
    wchar_t path[MAX_PATH] = L"";
    OPENFILENAMEW dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filter.c_str();
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.lpstrDefExt = extension;
    dialog.Flags = OFN_NOCHANGEDIR | OFN_HIDEREADONLY | (toSave ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST);
    // Loaded when it is needed, so that the program starts sooner.
    using Ask = decltype(&GetOpenFileNameW);
    const Ask ask = SystemFunction<Ask>(L"comdlg32.dll", toSave ? "GetSaveFileNameW" : "GetOpenFileNameW");
    return ask && ask(&dialog) ? path : L"";
}

}  // namespace camview
