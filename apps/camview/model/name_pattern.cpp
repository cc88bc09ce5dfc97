#include "model/name_pattern.h"

#include <array>
#include <cwchar>
#include <cwctype>

namespace camview {

namespace {

// What the C library of Windows understands everywhere. It ends programs that ask it for anything else.
constexpr std::wstring_view kConversions = L"aAbBcdHIjmMpSUwWxXyYZ%";

std::wstring UpperStem(std::wstring_view name) {
    std::wstring stem(name.substr(0, name.find(L'.')));
    for (wchar_t& letter : stem) letter = static_cast<wchar_t>(std::towupper(letter));
    return stem;
}

bool IsDevice(std::wstring_view name) {
    const std::wstring stem = UpperStem(name);
    for (const wchar_t* device : {L"CON", L"PRN", L"AUX", L"NUL"}) {
        if (stem == device) return true;
    }
    const bool isPort = stem.starts_with(L"COM") || stem.starts_with(L"LPT");
    return isPort && stem.size() == 4 && stem[3] >= L'1' && stem[3] <= L'9';
}

}  // namespace

std::tm LocalTime() {
    const std::time_t now = std::time(nullptr);
    return *std::localtime(&now);
}

std::optional<std::wstring> ExpandPattern(std::wstring_view pattern, const std::tm& moment) {
    for (size_t at = 0; (at = pattern.find(L'%', at)) != std::wstring_view::npos; at += 2) {
        if (at + 1 >= pattern.size() || kConversions.find(pattern[at + 1]) == std::wstring_view::npos)
            return std::nullopt;
    }
    std::array<wchar_t, 1024> text;
    const size_t length = std::wcsftime(text.data(), text.size(), std::wstring(pattern).c_str(), &moment);
    if (length == 0) return std::nullopt;
    return std::wstring(text.data(), length);
}

bool IsFileName(std::wstring_view name) {
    constexpr size_t kMaxLength = 200;
    if (name.empty() || name.size() > kMaxLength || name.back() == L' ' || name.back() == L'.') return false;
    for (const wchar_t letter : name) {
        if (letter < L' ' || std::wstring_view(L"<>:\"/\\|?*").find(letter) != std::wstring_view::npos)
            return false;
    }
    return !IsDevice(name);
}

std::optional<std::wstring> NextFile(const std::wstring& folder, std::wstring_view pattern,
                                     const std::tm& moment, const std::wstring& extension,
                                     const std::function<bool(const std::wstring&)>& exists) {
    const auto name = ExpandPattern(pattern, moment);
    if (!name || !IsFileName(*name)) return std::nullopt;
    const bool hasSeparator = !folder.empty() && (folder.back() == L'\\' || folder.back() == L'/');
    const std::wstring stem = folder + (folder.empty() || hasSeparator ? L"" : L"\\") + *name;
    std::wstring file = stem + extension;
    for (int number = 2; exists(file); ++number)
        file = std::wstring(stem).append(L"-").append(std::to_wstring(number)).append(extension);
    return file;
}

}  // namespace camview
