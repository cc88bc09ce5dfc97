#include "base/file_extension.h"

#include <wctype.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace cam {

const wchar_t* FindExtension(const wchar_t* name) {
    if (!name) return nullptr;
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

#ifdef _WIN32
const wchar_t* FileExtension(const wchar_t* name) {
    if (!name) SetLastError(ERROR_INVALID_PARAMETER);
    return FindExtension(name);
}
#endif

bool SameExtension(const wchar_t* extension, const wchar_t* other) {
    auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; };
    for (; lower(*extension) == lower(*other); ++extension, ++other) {
        if (!*extension) return true;
    }
    return false;
}

bool IsPictureExtension(const wchar_t* extension) {
    constexpr const wchar_t* kPictureExtensions[] = {L".JPG", L".BMP", L".PNG", L".TIF"};
    for (const wchar_t* known : kPictureExtensions) {
        if (SameExtension(extension, known)) return true;
    }
    return false;
}

}  // namespace cam
