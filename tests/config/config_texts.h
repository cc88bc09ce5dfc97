// Texts for the configuration tests.
#pragma once

#include <windows.h>

#include <string>

#include "test_files.h"

// `text` must be ASCII.
inline std::wstring Widen(const std::string& text) {
    return {text.begin(), text.end()};
}

// For messages.
inline std::string Narrow(const std::wstring& text) {
    std::string bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                          nullptr, nullptr),
                      '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                        static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

inline std::string ToUtf16(const std::string& ascii, bool withMark) {
    std::string bytes = withMark ? "\xFF\xFE" : "";
    for (const char c : ascii) bytes += {c, '\0'};
    return bytes;
}

// The example number `index` of a language ("ini", "xml") in the documentation, so that what users copy is
// what is tested.
inline std::string DocumentedExample(const std::string& language, int index) {
    const std::string text = ReadBytes(Widen(OCELLUS_CONFIGURATION_DOC));
    const std::string fence = "```" + language + "\n";
    size_t start = 0;
    for (int i = 0; i <= index; ++i) {
        start = text.find(fence, start);
        REQUIRE(start != std::string::npos);
        start += fence.size();
    }
    return text.substr(start, text.find("```", start) - start);
}
