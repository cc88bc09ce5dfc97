// The extension of a file name, as every still-picture path understands it.
#pragma once

namespace cam {

// The text from the last dot of `name`, the dot included, or a pointer to the terminating zero when there
// is no dot or a "\", a "/" or white space follows it. Null yields null. Free of the system, so that it can
// be tested anywhere.
const wchar_t* FindExtension(const wchar_t* name);

#ifdef _WIN32
// FindExtension; a null name also sets the thread's last error to ERROR_INVALID_PARAMETER (87).
const wchar_t* FileExtension(const wchar_t* name);
#endif

// Whether two extensions are the same without regard to the case of their ASCII letters.
bool SameExtension(const wchar_t* extension, const wchar_t* other);

// Whether the extension is that of a format in which pictures are written.
bool IsPictureExtension(const wchar_t* extension);

}  // namespace cam
