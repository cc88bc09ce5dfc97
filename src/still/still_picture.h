// What an application asks of its still pictures.
#pragma once

#include <windows.h>

#include <memory>

namespace cam::still {

struct StillPicture {
    std::unique_ptr<wchar_t[]> fileName;  // null: the picture is not stored
    BYTE qualityLevel = 0;
    std::unique_ptr<wchar_t[]> overlayText;  // consumed by the picture it is stamped on
    DWORD textPosition = 0;
    DWORD colorWord = 0;
    HFONT textFont = nullptr;  // the application's
};

}  // namespace cam::still
