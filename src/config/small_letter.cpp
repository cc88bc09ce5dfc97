#include "config/small_letter.h"

#include <windows.h>

namespace cam::config {

// A character in the place of the pointer to a text.
wchar_t SmallLetter(wchar_t character) {
    const auto text = reinterpret_cast<LPWSTR>(static_cast<UINT_PTR>(character));
    return static_cast<wchar_t>(reinterpret_cast<UINT_PTR>(CharLowerW(text)));
}

}  // namespace cam::config
