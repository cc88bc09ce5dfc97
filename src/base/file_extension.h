// The extension of a file name.
#pragma once

namespace cam {

// The text from the last dot of `name`, the dot included, or a pointer to the terminating zero when there is
// no dot or a "\", a "/" or white space follows it. Null yields null and, on Windows, sets the thread's last
// error to ERROR_INVALID_PARAMETER (87).
const wchar_t* FileExtension(const wchar_t* name);

// Whether two extensions are the same without regard to the case of their ASCII letters.
bool SameExtension(const wchar_t* extension, const wchar_t* other);

}  // namespace cam
