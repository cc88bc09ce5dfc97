#include "config/ini_file.h"

#include <windows.h>

#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "config/ini_text.h"
#include "config/text_file.h"

namespace cam::config {
namespace {

constexpr int kLineLength = 256;      // of a written line, with the terminator
constexpr int kBytesOfCharacter = 4;  // at the most, in any ANSI code page
constexpr int kNotOpened = -1;
constexpr int kHeaderNotWritten = -1;
constexpr int kIntegerNotWritten = -2;
constexpr int kStringNotWritten = -3;

// Formats one line and writes it in one piece, through to the system: a full disk is told at the line that
// it stopped.
bool WriteLine(FILE* stream, const wchar_t* format, ...) {
    wchar_t line[kLineLength];
    va_list arguments;
    va_start(arguments, format);
    const int length = _vsnwprintf(line, kLineLength, format, arguments);
    va_end(arguments);
    if (length < 0 || length >= kLineLength) return false;

    char bytes[kLineLength * kBytesOfCharacter];
    BOOL isLossy = FALSE;
    // The question whether something was lost is not allowed where nothing can be.
    BOOL* const lossy = GetACP() == CP_UTF8 ? nullptr : &isLossy;
    const int count = WideCharToMultiByte(CP_ACP, 0, line, length, bytes, sizeof bytes, nullptr, lossy);
    if (count <= 0 || isLossy) return false;
    return fwrite(bytes, 1, static_cast<size_t>(count), stream) == static_cast<size_t>(count) &&
           fflush(stream) == 0;
}

// An absent section is the one before any header.
const wchar_t* SectionOf(const SettingsRequest& request) {
    return request.section ? request.section : L"";
}

int WriteValue(FILE* stream, const SettingsRequest& request) {
    if (!request.isString) {
        int32_t number;
        std::memcpy(&number, request.destination, sizeof number);
        return WriteLine(stream, L"%ls=%d\n", request.key, static_cast<int>(number)) ? 0 : kIntegerNotWritten;
    }
    if (request.length < 1) return 0;
    const auto* const text = static_cast<const wchar_t*>(request.destination);
    return WriteLine(stream, L"%ls=%ls\n", request.key, text) ? 0 : kStringNotWritten;
}

}  // namespace

int ReadIniFile(const wchar_t* path, std::span<SettingsRequest> requests) {
    if (!path) return 0;
    TextFile file;
    if (!file.Open(path)) return kNotOpened;
    const std::unique_ptr<IniReader> reader(new (std::nothrow) IniReader(requests));
    if (!reader) return kNotOpened;
    while (const std::optional<wchar_t> character = file.Next()) reader->Add(*character);
    reader->Finish();
    return 0;
}

int WriteIniFile(const wchar_t* path, std::span<const SettingsRequest> requests) {
    const UniqueStream stream(path ? _wfopen(path, L"wt") : nullptr);
    if (!stream) return kNotOpened;
    const wchar_t* section = L"";
    bool isFirstHeader = true;
    for (const SettingsRequest& request : requests) {
        if (wcscmp(SectionOf(request), section) != 0) {
            section = SectionOf(request);
            const wchar_t* const format = isFirstHeader ? L"[%ls]\n" : L"\n[%ls]\n";
            if (!WriteLine(stream.get(), format, section)) return kHeaderNotWritten;
            isFirstHeader = false;
        }
        const int result = WriteValue(stream.get(), request);
        if (result != 0) return result;
    }
    return 0;
}

}  // namespace cam::config
