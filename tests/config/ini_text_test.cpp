#include "config/ini_text.h"

#include <doctest/doctest.h>

#include <climits>
#include <cwchar>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "camverify/tables/settings.h"

using cam::config::IniReader;
using cam::config::ParseInteger;
using cam::config::SettingsRequest;
using cam::config::SplitAt;

namespace {

constexpr int32_t kUntouched = tables::kNotSet;

SettingsRequest WantInteger(const wchar_t* section, const wchar_t* key, int32_t* destination) {
    return {section, key, 0, destination, 0, 0, 9};
}

SettingsRequest WantString(const wchar_t* section, const wchar_t* key, wchar_t* destination, int32_t length) {
    return {section, key, 1, destination, length, 0, 9};
}

void Read(const std::wstring& text, std::span<SettingsRequest> requests) {
    const auto reader = std::make_unique<IniReader>(requests);
    for (const wchar_t c : text) reader->Add(c);
    reader->Finish();
}

int32_t ReadZoom(const std::wstring& text, const wchar_t* section = L"Camera") {
    int32_t zoom = kUntouched;
    SettingsRequest request = WantInteger(section, L"Zoom", &zoom);
    Read(text, {&request, 1});
    CHECK((request.found == 1) == (request.keyFlag == 0));
    CHECK((zoom == kUntouched) == (request.found == 0));
    return zoom;
}

// A string in a buffer of exactly `length` characters, so that an overrun is caught.
std::wstring ReadString(const std::wstring& text, const wchar_t* key, int32_t length) {
    std::vector<wchar_t> buffer(static_cast<size_t>(length), L'#');
    SettingsRequest request = WantString(nullptr, key, buffer.data(), length);
    Read(text, {&request, 1});
    CHECK(request.found == 1);
    if (buffer.empty()) return L"";
    CHECK(buffer.back() == L'\0');
    return buffer.data();
}

}  // namespace

TEST_CASE("a line sets a value only in its section and only with its exact key") {
    for (const tables::SettingsCase& c : tables::kIniSettings) {
        CAPTURE(c.text);
        CHECK(ReadZoom({c.text.begin(), c.text.end()}) == c.zoom);
    }
    CHECK(ReadZoom(L"[A]\nZoom=1\n[B]\nZoom=2\n", nullptr) == 2);
    CHECK(ReadZoom(L"Zoom=1\n[B]\nZoom=2\n", L"") == 1);
    CHECK(ReadZoom(std::wstring(L"[Camera]\nZoom=1\0 2\nZoom\0=9\n", 26)) == 0);  // a zero ends its line
}

TEST_CASE("every request that asks for a key receives it") {
    int32_t first = 0;
    int32_t second = 0;
    int32_t other = kUntouched;
    wchar_t text[8] = L"before";
    SettingsRequest requests[] = {WantInteger(L"s", L"k", &first), WantInteger(nullptr, L"K", &second),
                                  WantInteger(L"t", L"k", &other), WantString(L"S", L"k", text, 8)};
    Read(L"[S]\nk=0x1F\n", requests);
    CHECK(first == 31);
    CHECK(second == 31);
    CHECK(other == kUntouched);
    CHECK(std::wstring(text) == L"0x1F");
    CHECK(requests[2].found == 0);
    CHECK(requests[2].keyFlag == 9);
}

TEST_CASE("strings are cut to their buffer, values and keys to their limits") {
    CHECK(ReadString(L"k=abcdef\n", L"k", 7) == L"abcdef");
    CHECK(ReadString(L"k=abcdef\n", L"k", 6) == L"abcde");
    CHECK(ReadString(L"k=abcdef\n", L"k", 1).empty());
    CHECK(ReadString(L"k=abcdef\n", L"k", 0).empty());  // found, and nothing written
    const std::wstring longValue(5000, L'v');
    CHECK(ReadString(L"k=" + longValue, L"k", 6000).size() == IniReader::kMaxValue);
    const std::wstring longKey(300, L'k');
    CHECK(ReadString(longKey + L"=x", longKey.substr(0, IniReader::kMaxKey).c_str(), 9) == L"x");
    CHECK(ReadZoom(L"[" + longKey + L"]\nZoom=4\n", longKey.substr(0, IniReader::kMaxSection).c_str()) == 4);
}

TEST_CASE("a line of more than 8191 characters counts as several lines") {
    const auto pad = [](size_t size) { return std::wstring(size, L'x'); };
    const std::wstring head = L"[Camera]\n";
    // The first piece is the padding alone; the next begins with the key, a comment or a section.
    CHECK(ReadZoom(head + pad(8191) + L"Zoom=3\n") == 3);
    CHECK(ReadZoom(head + pad(8190) + L"Zoom=3\n") == kUntouched);
    CHECK(ReadZoom(head + pad(8191) + L";Zoom=3\n") == kUntouched);
    CHECK(ReadZoom(head + pad(8191) + L"[Other]\nZoom=3\n") == kUntouched);
    CHECK(ReadZoom(head + L"Zoom=1" + std::wstring(8191 - 6, L' ') + L"23\n") == 1);
    CHECK(ReadZoom(head + pad(8190) + L"\nZoom=3\n") == 3);
    CHECK(ReadZoom(head + pad(3 * 8191) + L"\nZoom=3\n") == 3);
}

TEST_CASE("numbers are read as the C library reads them") {
    struct Case {
        const wchar_t* text;
        int32_t base0;
        int32_t base10;
    };
    for (const Case& c : {Case{L"16", 16, 16},
                          {L"0x10", 16, 0},
                          {L"0X1f", 31, 0},
                          {L"010", 8, 10},
                          {L"08", 0, 8},
                          {L"0x", 0, 0},
                          {L"0xg", 0, 0},
                          {L" \t\v\f\r 7", 7, 7},
                          {L"-5x", -5, -5},
                          {L"+5", 5, 5},
                          {L"-0x10", -16, 0},
                          {L"- 5", 0, 0},
                          {L"+-5", 0, 0},
                          {L"--1", 0, 0},
                          {L"0-", 0, 0},
                          {L"1e3", 1, 1},
                          {L"4294967295", INT_MAX, INT_MAX},
                          {L"", 0, 0},
                          {L"abc", 0, 0},
                          {L"1.9", 1, 1},
                          {L"2147483647", INT_MAX, INT_MAX},
                          {L"2147483648", INT_MAX, INT_MAX},
                          {L"-2147483648", INT_MIN, INT_MIN},
                          {L"-2147483649", INT_MIN, INT_MIN},
                          {L"0xFFFFFFFF", INT_MAX, 0},
                          {L"99999999999999999999", INT_MAX, INT_MAX},
                          {L"-99999999999999999999z", INT_MIN, INT_MIN}}) {
        CAPTURE(std::string(c.text, c.text + std::wstring(c.text).size()));
        CHECK(ParseInteger(c.text, 0) == c.base0);
        CHECK(ParseInteger(c.text, 10) == c.base10);
        // Where its numbers have 32 bits, the C library itself is asked.
        if (sizeof(long) != sizeof(int32_t)) continue;
        CHECK(wcstol(c.text, nullptr, 0) == c.base0);
        CHECK(wcstol(c.text, nullptr, 10) == c.base10);
    }
}

TEST_CASE("a text is split at its first separator") {
    const wchar_t* const source = L"ab,cd,";
    wchar_t part[4];
    CHECK(SplitAt(part, source, L',', 4) == source + 3);
    CHECK(std::wstring(part) == L"ab");
    CHECK(SplitAt(part, source, L',', 2) == source + 3);  // cut, and still past the separator
    CHECK(std::wstring(part) == L"a");
    CHECK(SplitAt(part, source + 6, L',', 4) == nullptr);
    CHECK(std::wstring(part).empty());
    CHECK(SplitAt(part, L"abcdef", L';', 4) == nullptr);
    CHECK(std::wstring(part) == L"abc");
    CHECK(SplitAt(part, source, L',', 0) == source + 3);
    CHECK(SplitAt(part, nullptr, L',', 4) == nullptr);

    int32_t number = 0;
    const wchar_t* const numbers = L" 12x010";
    CHECK(SplitAt(&number, numbers, L'x') == numbers + 4);
    CHECK(number == 12);
    CHECK(SplitAt(&number, numbers + 4, L'x') == nullptr);
    CHECK(number == 10);
    CHECK(SplitAt(&number, L"1234", L'3') != nullptr);  // the separator ends the number, whatever it is
    CHECK(number == 12);
}
