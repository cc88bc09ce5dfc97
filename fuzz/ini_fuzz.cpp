// The text of configuration files: INI lines and numbers, and Base64.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "config/base64.h"
#include "config/ini_text.h"

using namespace cam::config;

namespace {

void Require(bool condition) {
    if (!condition) abort();
}

// Requests as a caller has them, strings in heap blocks of exactly their length.
void ReadIni(const std::wstring& text) {
    constexpr int32_t kUntouched = -77;
    constexpr int kLengths[] = {0, 1, 5, 5000};
    std::vector<std::vector<wchar_t>> buffers;
    std::vector<SettingsRequest> requests;
    for (const int length : kLengths) buffers.emplace_back(static_cast<size_t>(length), L'#');
    for (size_t i = 0; i < buffers.size(); ++i) {
        requests.push_back({i % 2 ? L"s" : nullptr, L"k", 1, buffers[i].data(), kLengths[i], 0, 9});
    }
    int32_t number = kUntouched;
    requests.push_back({nullptr, L"k", 0, &number, 0, 0, 9});

    const auto reader = std::make_unique<IniReader>(requests);
    for (const wchar_t c : text) reader->Add(c);
    reader->Finish();

    for (size_t i = 0; i < buffers.size(); ++i) {
        const bool isFound = requests[i].found != 0;
        Require(isFound == (requests[i].keyFlag == 0));
        if (buffers[i].empty()) continue;
        if (!isFound) Require(buffers[i][0] == L'#');
        if (isFound) Require(std::find(buffers[i].begin(), buffers[i].end(), L'\0') != buffers[i].end());
        if (isFound) Require(wcslen(buffers[i].data()) <= IniReader::kMaxValue);
    }
    if (!requests.back().found) Require(number == kUntouched);
    if (requests[1].found) Require(requests[0].found);  // a request without a section sees every section
    if (requests.back().found)
        Require(number == ParseInteger(buffers[2].data(), 0) || wcslen(buffers[2].data()) == 4);
}

// Against the C library, whose long is 64 bits wide here.
void ReadNumber(const std::wstring& text) {
    const bool isAscii = std::all_of(text.begin(), text.end(), [](wchar_t c) { return c < 0x80; });
    if (!isAscii) return;
    for (const int base : {0, 10}) {
        const long expected = std::clamp<long>(wcstol(text.c_str(), nullptr, base), INT_MIN, INT_MAX);
        Require(ParseInteger(text.c_str(), base) == expected);
    }
}

void Split(const std::wstring& text) {
    for (const int length : {0, 1, 3, 100}) {
        std::vector<wchar_t> part(static_cast<size_t>(length));
        const wchar_t* const rest = SplitAt(part.data(), text.c_str(), L'=', length);
        Require(rest == nullptr || rest[-1] == L'=');
        if (length > 0) Require(wcslen(part.data()) < static_cast<size_t>(length));
    }
}

void Transcode(const uint8_t* data, size_t size) {
    std::string text(Base64Length(size), '?');
    EncodeBase64({data, size}, text.data());
    std::vector<unsigned char> bytes(text.size() / 4 * 3);
    Require(DecodeBase64(text, bytes.data()) == size);
    Require(size == 0 || memcmp(bytes.data(), data, size) == 0);
    bytes.assign(size / 4 * 3, 0);
    bytes.shrink_to_fit();
    const auto count = DecodeBase64({reinterpret_cast<const char*>(data), size}, bytes.data());
    if (count) Require(*count <= bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text(data, data + size);
    ReadIni(text);
    ReadNumber(text);
    Split(text);
    Transcode(data, size);
    return 0;
}
