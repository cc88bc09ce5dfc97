// Letters without regard to their case.
#pragma once

namespace cam::config {

// The small letter of a capital, in any alphabet, as the system has it; any other character itself.
wchar_t SmallLetter(wchar_t character);

}  // namespace cam::config
