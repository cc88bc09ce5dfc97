#include "config/ini_text.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "config/small_letter.h"

namespace cam::config {
namespace {

constexpr wchar_t ToLowerAscii(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

constexpr bool IsSpace(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

// The value of `c` as a digit, or a number no base reaches.
constexpr int DigitValue(wchar_t c) {
    if (c >= L'0' && c <= L'9') return c - L'0';
    const wchar_t lower = ToLowerAscii(c);
    return lower >= L'a' && lower <= L'z' ? lower - L'a' + 10 : 99;
}

// Takes "0x" or "0" off the front of `text` and answers the base it stands for. A "0x" that no hexadecimal
// digit follows is the number 0 and ends at the "x".
int TakeBase(std::wstring_view& text) {
    if (text.empty() || text[0] != L'0') return 10;
    if (text.size() > 2 && ToLowerAscii(text[1]) == L'x' && DigitValue(text[2]) < 16) {
        text.remove_prefix(2);
        return 16;
    }
    return 8;
}

// The next run of characters that are neither "=" nor newline; delimiters before it are skipped.
std::wstring_view TakeRun(std::wstring_view& line) {
    const size_t start = line.find_first_not_of(L"=\n");
    if (start == std::wstring_view::npos) return {};
    line.remove_prefix(start);
    const std::wstring_view run = line.substr(0, line.find_first_of(L"=\n"));
    line.remove_prefix(run.size());
    return run;
}

// length - 1 characters at the most are kept; the rest of the buffer becomes zero, its last character always.
void StoreString(const SettingsRequest& request, std::wstring_view value) {
    if (request.length <= 0) return;
    auto* const text = static_cast<wchar_t*>(request.destination);
    const size_t kept = std::min(value.size(), static_cast<size_t>(request.length) - 1);
    std::fill(std::copy_n(value.data(), kept, text), text + request.length, L'\0');
}

}  // namespace

bool EqualsIgnoringCase(std::wstring_view text, std::wstring_view other) {
    return std::equal(text.begin(), text.end(), other.begin(), other.end(),
                      [](wchar_t a, wchar_t b) { return ToLowerAscii(a) == ToLowerAscii(b); });
}

int32_t ParseInteger(std::wstring_view text, int base) {
    while (!text.empty() && IsSpace(text[0])) text.remove_prefix(1);
    bool negative = false;
    if (!text.empty() && (text[0] == L'+' || text[0] == L'-')) {
        negative = text[0] == L'-';
        text.remove_prefix(1);
    }
    if (base == 0) base = TakeBase(text);
    // The magnitude of the smallest value is one above that of the largest.
    const uint32_t limit = static_cast<uint32_t>(std::numeric_limits<int32_t>::max()) + (negative ? 1 : 0);
    uint32_t magnitude = 0;
    for (const wchar_t c : text) {
        const int digit = DigitValue(c);
        if (digit >= base) break;
        const auto unit = static_cast<uint32_t>(digit);
        const auto scale = static_cast<uint32_t>(base);
        magnitude = magnitude > (limit - unit) / scale ? limit : magnitude * scale + unit;
    }
    return static_cast<int32_t>(negative ? 0U - magnitude : magnitude);
}

const wchar_t* SplitAt(wchar_t* destination, const wchar_t* source, wchar_t separator, int length) {
    if (!source) return nullptr;
    const std::wstring_view text(source);
    const size_t end = text.find(separator);
    if (length > 0) {
        const size_t kept = std::min(std::min(end, text.size()), static_cast<size_t>(length) - 1);
        std::copy_n(source, kept, destination);
        destination[kept] = 0;
    }
    return end == std::wstring_view::npos ? nullptr : source + end + 1;
}

const wchar_t* SplitAt(int32_t* destination, const wchar_t* source, wchar_t separator) {
    if (!source) return nullptr;
    const std::wstring_view text(source);
    const size_t end = text.find(separator);
    *destination = ParseInteger(text.substr(0, end), 10);
    return end == std::wstring_view::npos ? nullptr : source + end + 1;
}

bool IsRequested(const SettingsRequest& request, std::wstring_view section, std::wstring_view key) {
    const auto isSame = [](std::wstring_view name, std::wstring_view other) {
        return std::equal(name.begin(), name.end(), other.begin(), other.end(),
                          [](wchar_t a, wchar_t b) { return a == b || SmallLetter(a) == SmallLetter(b); });
    };
    return (!request.section || isSame(request.section, section)) && isSame(request.key, key);
}

void IniReader::Add(wchar_t character) {
    line[lineLength++] = character;
    if (character == L'\n' || lineLength == kMaxLine) Finish();
}

void IniReader::Finish() {
    const std::wstring_view text(line, lineLength);
    lineLength = 0;
    // A line is a terminated text: what follows a zero in the file is not seen.
    TakeLine(text.substr(0, text.find(L'\0')));
}

void IniReader::TakeLine(std::wstring_view text) {
    if (text.empty() || text[0] == L';') return;
    if (text[0] == L'[') {
        EnterSection(text.substr(1));
        return;
    }
    // Nothing is trimmed: blanks around the "=" belong to the key and the value. A key without a value has
    // the empty one.
    const std::wstring_view key = TakeRun(text).substr(0, kMaxKey);
    if (!key.empty()) Deliver(key, TakeRun(text).substr(0, kMaxValue));
}

void IniReader::EnterSection(std::wstring_view afterBracket) {
    const std::wstring_view name = afterBracket.substr(0, afterBracket.find_first_of(L"]\n"));
    if (name.empty()) return;
    sectionLength = std::min(name.size(), kMaxSection);
    std::copy_n(name.data(), sectionLength, section);
}

void IniReader::Deliver(std::wstring_view key, std::wstring_view value) {
    for (SettingsRequest& request : requests) {
        if (!IsRequested(request, std::wstring_view(section, sectionLength), key)) continue;
        if (request.isString) {
            StoreString(request, value);
        } else {
            const int32_t number = ParseInteger(value, 0);
            std::memcpy(request.destination, &number, sizeof number);
        }
        request.found = 1;
        request.keyFlag = 0;
    }
}

}  // namespace cam::config
