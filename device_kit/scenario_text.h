// The text of a scenario, which the camera and the imager library read each for itself.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "base/unique_resource.h"
#include "text.h"

namespace kit {

struct ScenarioText {
    std::string json;
    std::wstring folder;  // of the file, with its last separator; empty for a text
};

// A path, or JSON text that begins with "{". Throws std::runtime_error when the file cannot be opened.
inline ScenarioText ReadScenarioText(const std::wstring& pathOrText) {
    const std::size_t first = pathOrText.find_first_not_of(L" \t\r\n");
    if (first != std::wstring::npos && pathOrText[first] == L'{') return {Narrow(pathOrText), L""};
    const cam::UniqueFileHandle file(CreateFileW(pathOrText.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        throw std::runtime_error(
            "the scenario \"" + Narrow(pathOrText) +
            "\" cannot be opened; give an existing file, or JSON text beginning with \"{\"");
    }
    ScenarioText text;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(file.get(), buffer, sizeof buffer, &read, nullptr) && read > 0)
        text.json.append(buffer, read);
    text.folder = pathOrText.substr(0, pathOrText.find_last_of(L"\\/") + 1);
    return text;
}

}  // namespace kit
