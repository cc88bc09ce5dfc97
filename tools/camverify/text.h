// Values as words for reports. UTF-8 throughout.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace verify {

std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view ascii);
std::string Hex(unsigned value);  // "0x80070012"

// "0x80070012 (no camera driver is active)" for a failure of the system's, else the number.
std::string ResultText(LONG result);
// What to do about a camera that could not be brought up with that result.
const char* RemedyFor(LONG result);

inline std::string Show(const std::string& text) {
    return text;
}
inline std::string Show(const char* text) {
    return text;
}
inline std::string Show(const std::wstring& text) {
    return Utf8(text);
}
inline std::string Show(bool value) {
    return value ? "true" : "false";
}
template <typename Number>
requires std::is_integral_v<Number> std::string Show(Number value) {
    if constexpr (std::is_signed_v<Number> && sizeof(Number) == sizeof(LONG)) {
        return ResultText(static_cast<LONG>(value));
    } else {
        return std::to_string(value);
    }
}
template <typename Enum>
requires std::is_enum_v<Enum> std::string Show(Enum value) {
    return Show(static_cast<LONG>(value));
}
template <typename Item>
std::string Show(const std::vector<Item>& items) {
    std::string text = "[";
    for (const Item& item : items) text += (text.size() > 1 ? ", " : "") + Show(item);
    return text + "]";
}

}  // namespace verify
