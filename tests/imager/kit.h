// The device kit's imager library as tests see it.
#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "imvoxa_kit.h"

namespace kit {

inline void Load(const std::wstring& imagerMember) {
    wchar_t error[300] = L"";
    const BOOL loaded = imvKitLoadScenario((L"{\"imager\":" + imagerMember + L"}").c_str(), error, 300);
    REQUIRE_MESSAGE(loaded, std::string(error, error + wcslen(error)));
}

// One rule for one operation: {"Acquire": {"at": 2, "result": 5}}.
inline void LoadCalls(const std::wstring& calls) {
    Load(L"{\"calls\":" + calls + L"}");
}

inline std::vector<std::wstring> Log() {
    std::wstring text(imvKitCallLog(nullptr, 0), L'\0');
    text.resize(imvKitCallLog(text.data(), static_cast<DWORD>(text.size())) - 1);
    std::vector<std::wstring> lines;
    for (std::size_t from = 0, end; (end = text.find(L'\n', from)) != std::wstring::npos; from = end + 1) {
        lines.push_back(text.substr(from, end - from));
    }
    return lines;
}

// How many lines of the log begin like that.
inline int Logged(const std::wstring& beginning) {
    const auto lines = Log();
    return static_cast<int>(std::count_if(
        lines.begin(), lines.end(), [&](const std::wstring& line) { return line.rfind(beginning, 0) == 0; }));
}

// The last lines of the log, without those that look at a picture.
inline std::vector<std::wstring> LastLogged(std::size_t count) {
    auto lines = Log();
    std::erase_if(lines, [](const std::wstring& line) {
        return line == L"FirstDimension" || line == L"SecondDimension" || line == L"Pixels";
    });
    if (lines.size() > count) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(count));
    return lines;
}

inline std::string Narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

}  // namespace kit

namespace doctest {
template <>
struct StringMaker<std::wstring> {
    static String convert(const std::wstring& text) { return kit::Narrow(text).c_str(); }
};
template <>
struct StringMaker<std::vector<std::wstring>> {
    static String convert(const std::vector<std::wstring>& lines) {
        std::string text;
        for (const std::wstring& line : lines) text += kit::Narrow(line) + "; ";
        return text.c_str();
    }
};
}  // namespace doctest
