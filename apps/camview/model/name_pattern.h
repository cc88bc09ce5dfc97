// The names of pictures: a strftime pattern, a folder, an extension.
#pragma once

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace camview {

// Now, as the clock on the wall shows it.
std::tm LocalTime();

// The pattern at a moment; nothing when it has a conversion that strftime does not have, or gives no text.
std::optional<std::wstring> ExpandPattern(std::wstring_view pattern, const std::tm& moment);

// Whether the system takes it for a file: not empty, no folders, none of the characters and no device's name
// that it refuses, not ending in a blank or a dot.
bool IsFileName(std::wstring_view name);

// The full path for the next picture; a number is added to a name that `exists` knows already. Nothing when
// the pattern makes no file's name.
std::optional<std::wstring> NextFile(const std::wstring& folder, std::wstring_view pattern,
                                     const std::tm& moment, const std::wstring& extension,
                                     const std::function<bool(const std::wstring&)>& exists);

}  // namespace camview
