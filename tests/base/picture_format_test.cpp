#include "base/picture_format.h"

#include <doctest/doctest.h>

#include <string>

using cam::PictureFormat;

TEST_CASE("the extension names the format, in any case and never by prefix") {
    struct Case {
        const wchar_t* name;
        PictureFormat format;
    };
    for (const Case& c : {Case{L"a.bmp", PictureFormat::Bmp},
                          {L"a.JPG", PictureFormat::Jpeg},
                          {L"dir.x\\a.Png", PictureFormat::Png},
                          {L"a.b.tIf", PictureFormat::Tiff},
                          {L".tif", PictureFormat::Tiff},
                          {L"a.tif.bmp", PictureFormat::Bmp},
                          {L"a.jpeg", PictureFormat::None},
                          {L"a.tiff", PictureFormat::None},
                          {L"a.bm", PictureFormat::None},
                          {L"a.png ", PictureFormat::None},
                          {L"dir.bmp\\file", PictureFormat::None},
                          {L"a.", PictureFormat::None},
                          {L"", PictureFormat::None},
                          {nullptr, PictureFormat::None}}) {
        const std::wstring name = c.name ? c.name : L"(null)";
        CAPTURE(std::string(name.begin(), name.end()));
        CHECK(cam::PictureFormatOf(c.name) == c.format);
    }
}
