#include "base/file_extension.h"

#include <doctest/doctest.h>

#include <string>

#ifdef _WIN32
#include <windows.h>
#endif

TEST_CASE("the extension is the text from the last dot unless a separator or white space follows it") {
    struct Case {
        const wchar_t* name;
        const wchar_t* extension;
    };
    for (const Case& c : {Case{L"a.jpg", L".jpg"},
                          {L"a.b.JPG", L".JPG"},
                          {L"dir.x\\file", L""},
                          {L"dir.x/file", L""},
                          {L"a.b c", L""},
                          {L"a.b\t", L""},
                          {L"\\dir.x\\a.tif", L".tif"},
                          {L"a.", L"."},
                          {L".bmp", L".bmp"},
                          {L"", L""},
                          {L"none", L""}}) {
        CAPTURE(std::wstring(c.name).size());
        CHECK(std::wstring(cam::FileExtension(c.name)) == c.extension);
    }
    const wchar_t* name = L"dir.x\\file";
    CHECK(cam::FileExtension(name) == name + 10);  // the terminating zero of the name itself
#ifdef _WIN32
    SetLastError(0);
    CHECK(cam::FileExtension(nullptr) == nullptr);
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
#endif
}

TEST_CASE("extensions are the same without regard to case, and never by prefix") {
    CHECK(cam::SameExtension(L".Jpg", L".JPG"));
    CHECK_FALSE(cam::SameExtension(L".jpeg", L".JPG"));
    CHECK_FALSE(cam::SameExtension(L".jp", L".JPG"));
    CHECK_FALSE(cam::SameExtension(L"", L".JPG"));
}
