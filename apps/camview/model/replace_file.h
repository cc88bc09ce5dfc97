// Writing a settings file.
#pragma once

#include <windows.h>

#include <fstream>
#include <string>

namespace camview {

// Through a second file beside it: what is there is not lost when the disk is full.
inline bool ReplaceFileText(const std::wstring& file, const std::string& text) {
    const std::wstring fresh = file + L".new";
    {
        std::ofstream out(fresh.c_str(), std::ios::binary);
        out << text;
        out.flush();
        if (!out) return false;
    }
    return MoveFileExW(fresh.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

}  // namespace camview
