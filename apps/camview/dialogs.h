// The system's dialogs for files and folders. They wait for the user: for a thread of their own.
#pragma once

#include <windows.h>

#include <string>

namespace camview {

// Empty: none was chosen.
std::wstring AskForFolder(HWND owner, const std::wstring& start);
std::wstring AskForFile(HWND owner, const wchar_t* name, const wchar_t* patterns, const wchar_t* extension,
                        bool toSave);

}  // namespace camview
