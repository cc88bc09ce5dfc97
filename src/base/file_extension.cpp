#include "base/file_extension.h"

#include <wctype.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace cam {

const wchar_t* FileExtension(const wchar_t* name) {
    if (!name) {
#ifdef _WIN32
        SetLastError(ERROR_INVALID_PARAMETER);
#endif
        return nullptr;
    }
    const wchar_t* dot = nullptr;
    const wchar_t* end = name;
    for (; *end; ++end) {
        if (*end == L'.') dot = end;
    }
    if (!dot) return end;
    for (const wchar_t* at = dot; at != end; ++at) {
        if (*at == L'\\' || *at == L'/' || iswspace(static_cast<wint_t>(*at))) return end;
    }
    return dot;
}

bool SameExtension(const wchar_t* extension, const wchar_t* other) {
    auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; };
    for (; lower(*extension) == lower(*other); ++extension, ++other) {
        if (!*extension) return true;
    }
    return false;
}

}  // namespace cam
