// The text of settings files: INI lines, numbers, and parts of values. Free of the system, so that it can
// be tested anywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "config/settings_request.h"

namespace cam::config {

// Whether two texts are the same without regard to the case of their ASCII letters: for words that are
// laid down. Other letters count as they are.
bool EqualsIgnoringCase(std::wstring_view text, std::wstring_view other);

// The number at the start of `text` as the C library's conversion to a 32-bit long has it: leading white
// space and a sign are accepted, the first unusable character ends it, no digits give 0, and what does not
// fit becomes the largest or smallest value. Base 0 takes "0x" for hexadecimal and a leading "0" for octal.
int32_t ParseInteger(std::wstring_view text, int base);

// Copies the part of `source` before the first `separator`, or all of it when there is none, into
// `destination`: at most length - 1 characters and a terminator. Returns what follows the separator, or
// null. A null source leaves `destination` as it was.
const wchar_t* SplitAt(wchar_t* destination, const wchar_t* source, wchar_t separator, int length);

// The same for a number in base 10.
const wchar_t* SplitAt(int32_t* destination, const wchar_t* source, wchar_t separator);

// Whether `request` asks for `key` of `section`. Letters of every alphabet are compared without regard to
// their case, as the system folds them.
bool IsRequested(const SettingsRequest& request, std::wstring_view section, std::wstring_view key);

// Takes the characters of an INI file one after another and fills the requests. No request is copied: they
// must live as long. An object is about 17 KB and belongs on the heap. Any thread; one at a time.
class IniReader {
  public:
    static constexpr size_t kMaxLine = 8191;  // characters, the newline included; a longer line is several
    static constexpr size_t kMaxSection = 255;
    static constexpr size_t kMaxKey = 255;
    static constexpr size_t kMaxValue = 4095;

    explicit IniReader(std::span<SettingsRequest> wanted) : requests(wanted) {}
    IniReader(const IniReader&) = delete;
    IniReader& operator=(const IniReader&) = delete;

    void Add(wchar_t character);

    // After the last character: takes a last line that has no newline.
    void Finish();

  private:
    void TakeLine(std::wstring_view text);
    void EnterSection(std::wstring_view afterBracket);
    void Deliver(std::wstring_view key, std::wstring_view value);

    std::span<SettingsRequest> requests;
    size_t sectionLength = 0;
    size_t lineLength = 0;
    wchar_t section[kMaxSection];
    wchar_t line[kMaxLine];
};

}  // namespace cam::config
