#include "text.h"

#include <windows.h>

#include <dshow.h>
#include <io.h>
#include <wincodec.h>

#include <cstdio>

#include <ocellus/cam_results.hpp>

namespace camctl {

namespace {

struct ResultName {
    HRESULT result;
    const char* name;
};

// Those that a capture graph or a picture decoder is known to answer; the rest is named by the system's own
// text.
constexpr ResultName kHresultNames[] = {
    {E_NOTIMPL, "E_NOTIMPL"},
    {E_NOINTERFACE, "E_NOINTERFACE"},
    {E_POINTER, "E_POINTER"},
    {E_ABORT, "E_ABORT"},
    {E_FAIL, "E_FAIL"},
    {E_UNEXPECTED, "E_UNEXPECTED"},
    {E_ACCESSDENIED, "E_ACCESSDENIED"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
    {E_INVALIDARG, "E_INVALIDARG"},
    {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG"},
    {VFW_E_CANNOT_CONNECT, "VFW_E_CANNOT_CONNECT"},
    {VFW_E_CANNOT_RENDER, "VFW_E_CANNOT_RENDER"},
    {VFW_E_INVALID_MEDIA_TYPE, "VFW_E_INVALID_MEDIA_TYPE"},
    {VFW_E_TYPE_NOT_ACCEPTED, "VFW_E_TYPE_NOT_ACCEPTED"},
    {VFW_E_NO_TYPES, "VFW_E_NO_TYPES"},
    {VFW_E_NO_ALLOCATOR, "VFW_E_NO_ALLOCATOR"},
    {VFW_E_NOT_CONNECTED, "VFW_E_NOT_CONNECTED"},
    {VFW_E_NOT_FOUND, "VFW_E_NOT_FOUND"},
    {VFW_E_WRONG_STATE, "VFW_E_WRONG_STATE"},
    {VFW_E_TIMEOUT, "VFW_E_TIMEOUT"},
    {WINCODEC_ERR_UNKNOWNIMAGEFORMAT, "WINCODEC_ERR_UNKNOWNIMAGEFORMAT"},
    {WINCODEC_ERR_COMPONENTNOTFOUND, "WINCODEC_ERR_COMPONENTNOTFOUND"},
    {WINCODEC_ERR_BADIMAGE, "WINCODEC_ERR_BADIMAGE"},
    {WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, "WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT"},
    {WINCODEC_ERR_UNSUPPORTEDOPERATION, "WINCODEC_ERR_UNSUPPORTEDOPERATION"},
};

const char* CamResultName(long result) {
    switch (result) {
        case camOk:
            return "camOk";
        case camNotInitialised:
            return "camNotInitialised";
        case camInvalidArgument:
            return "camInvalidArgument";
        case camCaptureFailed:
            return "camCaptureFailed";
        case camFailed:
            return "camFailed";
        default:
            return "unknown result";
    }
}

std::string SystemText(HRESULT result) {
    wchar_t buffer[256];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(result), 0, buffer, 256, nullptr);
    std::string text = ToUtf8({buffer, length});
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::string HresultName(HRESULT result) {
    for (const ResultName& known : kHresultNames) {
        if (known.result == result) return known.name;
    }
    // What the system says of an error seldom fits a camera.
    if (const ocellus::ResultText* const known = ocellus::FindResultText(result))
        return ToUtf8(std::wstring(known->name));
    std::string name;
    if (HRESULT_FACILITY(result) == FACILITY_WIN32) {
        name = "HRESULT_FROM_WIN32(" + std::to_string(HRESULT_CODE(result)) + ")";
    }
    const std::string text = SystemText(result);
    if (name.empty() && text.empty()) return "no name known";
    return name.empty() || text.empty() ? name + text : name + ": " + text;
}

// A console is written to in UTF-16, since bytes would go through the machine's own code page.
void Write(FILE* stream, const std::string& text) {
    const HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD ignored;
    if (GetConsoleMode(handle, &ignored)) {
        const std::wstring wide = ToWide(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &ignored, nullptr);
    } else {
        fwrite(text.data(), 1, text.size(), stream);
        fflush(stream);
    }
}

}  // namespace

std::wstring ToWide(std::string_view utf8) {
    const int length =
        MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), length);
    return wide;
}

std::string ToUtf8(std::wstring_view wide) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                                           nullptr, nullptr);
    std::string utf8(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(), length, nullptr,
                        nullptr);
    return utf8;
}

std::string ResultText(long result) {
    if (result >= 0) return std::to_string(result) + " (" + CamResultName(result) + ")";
    char hex[16];
    snprintf(hex, sizeof hex, "0x%08lX", static_cast<unsigned long>(result));
    return std::string(hex) + " (" + HresultName(result) + ")";
}

void PrintResult(bool asJson, const Json& value, const std::string& text) {
    Write(stdout, asJson ? value.dump(2) + "\n" : text);
}

void PrintError(bool asJson, const ToolError& error) {
    ShowProgress("");
    std::string text = "camctl: " + error.problem;
    if (error.result != 0) text += "\n  result: " + ResultText(error.result);
    if (!error.remedy.empty()) text += "\n  remedy: " + error.remedy;
    Write(stderr, text + "\n");
    if (!asJson) return;
    Json value = {{"ok", false},
                  {"exitCode", static_cast<int>(error.exitCode)},
                  {"problem", error.problem},
                  {"remedy", error.remedy}};
    if (error.result != 0) value["result"] = ResultText(error.result);
    PrintResult(true, value, "");
}

void ShowProgress(const std::string& text) {
    static const bool isTerminal = _isatty(_fileno(stderr)) != 0;
    if (!isTerminal) return;
    Write(stderr, "\r" + std::string(60, ' ') + "\r" + text);
}

}  // namespace camctl
