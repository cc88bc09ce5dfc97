// Small text helpers: encodings, result names, JSON and terminal output.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "tool_error.h"

namespace camctl {

using Json = nlohmann::ordered_json;

std::wstring ToWide(std::string_view utf8);
std::string ToUtf8(std::wstring_view wide);

// "0x80070012 (HRESULT_FROM_WIN32(18): There are no more files.)" for an HRESULT, "8 (camCaptureFailed)" for
// a camResult.
std::string ResultText(long result);

// Prints `value` as JSON, or the text when JSON was not asked for.
void PrintResult(bool asJson, const Json& value, const std::string& text);

// The error in words on stderr and, when JSON was asked for, as an object on stdout.
void PrintError(bool asJson, const ToolError& error);

// A line on stderr that the next one overwrites; nothing when stderr is no terminal. Empty text wipes it.
void ShowProgress(const std::string& text);

// "1 frame", "2 frames".
inline std::string Counted(long count, const std::string& thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

}  // namespace camctl
