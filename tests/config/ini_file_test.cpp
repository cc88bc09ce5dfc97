#include "config/ini_file.h"

#include <climits>
#include <string>

#include "config/config_texts.h"
#include "config/ini_text.h"

using namespace cam::config;

namespace {

SettingsRequest Integer(const wchar_t* section, const wchar_t* key, int32_t* value) {
    return {section, key, 0, value, 0, 0, 9};
}

SettingsRequest String(const wchar_t* section, const wchar_t* key, wchar_t* value, int32_t length) {
    return {section, key, 1, value, length, 0, 9};
}

int32_t ReadZoom(const std::string& bytes) {
    const TestFile file(L"zoom.ini", bytes);
    int32_t zoom = -77;
    SettingsRequest request = Integer(L"Camera", L"Zoom", &zoom);
    CHECK(ReadIniFile(file.path(), {&request, 1}) == 0);
    return zoom;
}

std::wstring ReadName(const std::string& bytes) {
    const TestFile file(L"name.ini", bytes);
    wchar_t name[32] = L"";
    SettingsRequest request = String(nullptr, L"Name", name, 32);
    CHECK(ReadIniFile(file.path(), {&request, 1}) == 0);
    return name;
}

}  // namespace

TEST_CASE("names are compared without regard to the case of letters, in every alphabet") {
    int32_t value = 0;
    SettingsRequest request = Integer(L"K\u00C4STEN", L"\u0416\u03A3z", &value);
    CHECK(IsRequested(request, L"k\u00E4sten", L"\u0436\u03C3Z"));
    CHECK_FALSE(IsRequested(request, L"kasten", L"\u0436\u03C3Z"));
    CHECK_FALSE(IsRequested(request, L"k\u00E4sten", L"\u0437\u03C3Z"));
}

TEST_CASE("files are read in text mode") {
    CHECK(ReadZoom("[Camera]\r\nZoom=0x10\r\n") == 16);
    CHECK(ReadZoom("[Camera]\nZoom=010\n") == 8);
    CHECK(ReadZoom("[Camera]\r\nZoom=5") == 5);
    CHECK(ReadZoom("[Camera\r\nZoom=5") == 5);  // the section's name has no carriage return
    CHECK(ReadZoom("") == -77);
    CHECK(ReadZoom("\xEF\xBB\xBF[Camera]\nZoom=5\n") == -77);  // a mark is text before the bracket
    CHECK(ReadZoom(ToUtf16("[Camera]\nZoom=5\n", true)) == -77);
    CHECK(ReadName("Name=a\r\n") == L"a");
    CHECK(ReadName("Name=a\rb\n") == L"a\rb");
    CHECK(ReadName("Name=a\nName=b\x1A\nName=c\n") == L"b");  // Ctrl-Z ends the text
    std::string large = "[Camera]\r\n";
    for (int i = 0; i < 20000; ++i) large += "Zoom" + std::to_string(i) + "=" + std::string(50, 'x') + "\r\n";
    CHECK(ReadZoom(large + "Zoom=3\r\n") == 3);
    // Line ends and values across the blocks in which a file is read.
    for (size_t size = 1015; size < 1030; ++size) {
        CHECK(ReadZoom(";" + std::string(size, 'x') + "\r\n[Camera]\r\nZoom=7\r\n") == 7);
    }
}

TEST_CASE("bytes above ASCII are read in the code page, whatever locale is set") {
    wchar_t expected[2] = L"";
    REQUIRE(MultiByteToWideChar(CP_ACP, 0, "\xE9", 1, expected, 1) == 1);
    CHECK(ReadName("Name=caf\xE9\n") == std::wstring(L"caf") + expected);
    if (GetACP() == 1252) CHECK(ReadName("Name=\x80\n") == L"\u20ac");
}

TEST_CASE("characters of two bytes, where the code page has them") {
    MESSAGE("code page " << GetACP());  // two_byte_code_page runs where it is 932
    if (GetACP() != 932) return;
    CHECK(ReadName("Name=\x95\x5Cz\n") == L"\u8868z");
    CHECK(ReadName("Name=\x83") == L"\u30FB");  // half a character, at the end: what the system makes of it
    // The second byte may look like a bracket, and ends no section's name.
    const TestFile file(L"zoom.ini", "[\x83\x5Dx]\nZoom=5\n");
    int32_t zoom = 0;
    SettingsRequest request = Integer(L"\u30BEx", L"Zoom", &zoom);
    CHECK(ReadIniFile(file.path(), {&request, 1}) == 0);
    CHECK(zoom == 5);
}

TEST_CASE("a file that cannot be opened fails, a null path does nothing") {
    const TestFile missing(L"missing.ini");
    int32_t zoom = 5;
    SettingsRequest request = Integer(nullptr, L"Zoom", &zoom);
    CHECK(ReadIniFile(missing.path(), {&request, 1}) == -1);
    CHECK(ReadIniFile(nullptr, {&request, 1}) == 0);
    CHECK(WriteIniFile((std::wstring(missing.path()) + L"\\x.ini").c_str(), {&request, 1}) == -1);
    CHECK(WriteIniFile(nullptr, {&request, 1}) == -1);
    CHECK(zoom == 5);
}

TEST_CASE("values are written in order, with a header at each change of section") {
    int32_t number = INT_MIN;
    wchar_t text[] = L"a b";
    wchar_t empty[] = L"";
    SettingsRequest requests[] = {Integer(nullptr, L"top", &number), Integer(L"A", L"n", &number),
                                  String(L"A", L"s", text, 4),       String(L"A", L"skipped", text, 0),
                                  String(L"a", L"e", empty, 1),      Integer(L"A", L"again", &number)};
    const TestFile file(L"written.ini", "what was there before, and longer than what is written now " +
                                            std::string(500, '.'));
    REQUIRE(WriteIniFile(file.path(), requests) == 0);
    CHECK(ReadBytes(file.path()) ==
          "top=-2147483648\r\n[A]\r\nn=-2147483648\r\ns=a "
          "b\r\n\r\n[a]\r\ne=\r\n\r\n[A]\r\nagain=-2147483648\r\n");
    CHECK(requests[1].found == 0);

    wchar_t back[8] = L"";
    SettingsRequest request = String(L"A", L"s", back, 8);
    CHECK(ReadIniFile(file.path(), {&request, 1}) == 0);
    CHECK(std::wstring(back) == L"a b");
}

TEST_CASE("what cannot be written is told by its kind, and what was written before stays") {
    int32_t number = 1;
    const std::wstring longName(260, L'x');
    std::wstring longText(253, L't');  // "k=", the text and the line end are 256
    std::wstring foreign = L"\u4e2d";
    const TestFile file(L"failing.ini");
    SettingsRequest requests[] = {Integer(L"A", L"n", &number), {}};
    const auto write = [&](const SettingsRequest& last) {
        requests[1] = last;
        const int result = WriteIniFile(file.path(), requests);
        CHECK(ReadBytes(file.path()).substr(0, 10) == "[A]\r\nn=1\r\n");
        return result;
    };
    CHECK(write(Integer(longName.c_str(), L"n", &number)) == -1);
    CHECK(write(Integer(L"A", longName.c_str(), &number)) == -2);
    CHECK(write(String(L"A", L"k", longText.data(), 999)) == -3);
    CHECK(write(String(L"A", L"k", foreign.data(), 999)) == -3);  // refused, not replaced by question marks
    longText.pop_back();
    CHECK(write(String(L"A", L"k", longText.data(), 999)) == 0);
    CHECK(ReadBytes(file.path()).size() == 10 + 2 + 252 + 2);
}
