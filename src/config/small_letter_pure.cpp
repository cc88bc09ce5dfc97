// Where there is no such system: the C library's.
#include <cwctype>

#include "config/small_letter.h"

namespace cam::config {

wchar_t SmallLetter(wchar_t character) {
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
}

}  // namespace cam::config
