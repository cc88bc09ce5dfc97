// What the image writer makes of a frame before it is stored.
#include "still/image_writer.h"

#include <doctest/doctest.h>

#include "still/test_picture.h"

using namespace cam::still;

namespace {

void Prepare(TestPicture& picture) {
    ImageWriter(picture.picture, picture.frame()).Prepare();
}

void FillYuy2(TestPicture& picture, BYTE y, BYTE u, BYTE v) {
    for (DWORD i = 0; i < picture.picture.sampleSize; i += 4) {
        BYTE* pair = picture.frame() + i;
        pair[0] = pair[2] = y;
        pair[1] = u;
        pair[3] = v;
    }
}

}  // namespace

TEST_CASE("YUY2 becomes RGB565 with and without a file name, RGB565 stays") {
    for (const wchar_t* name : {L"", L"a.jpg", L"a.tif.bmp", L"a.tif\\b"}) {
        TestPicture picture(kFormatYuy2, 5, 3, name);
        FillYuy2(picture, 81, 128, 128);
        Prepare(picture);
        for (LONG y = 0; y < 3; ++y) {
            for (LONG x = 0; x < 5; ++x) CHECK(picture.word(x, y) == 0x4A69);
        }
        CHECK(picture.picture.colorWord == 0);
        CHECK(picture.marginIsIntact());
    }
    TestPicture ready(kFormatRgb565, 5, 3, L"a.png");
    ready.paint();
    const auto before = ready.memory;
    Prepare(ready);
    CHECK(ready.memory == before);
}

TEST_CASE("a TIFF picture turns black and white and its colours are overridden") {
    for (const LONG format : {kFormatYuy2, kFormatRgb565}) {
        CAPTURE(format);
        TestPicture picture(format, 64, 64, L"a.TiF");
        if (format == kFormatYuy2)
            FillYuy2(picture, 200, 90, 240);
        else
            picture.fill(0x001F);
        // A dark spot in bright surroundings.
        picture.set(32, 32, 0);
        picture.set(33, 32, 0);
        picture.picture.colorWord = 0x7ABCDEF0;
        Prepare(picture);
        CHECK(picture.picture.colorWord == 0x41000000);
        for (LONG y = 0; y < 64; ++y) {
            for (LONG x = 0; x < 64; ++x) {
                const bool dark = y == 32 && (x == 32 || x == 33);
                CHECK(picture.word(x, y) == (dark ? 0x0000 : 0xFFFF));
            }
        }
        CHECK(picture.marginIsIntact());
    }
}

TEST_CASE("a TIFF of a top-down frame is not thresholded: all but pure black is white") {
    TestPicture picture(kFormatRgb565, 64, -64, L"a.tif");
    picture.fill(0x001F);
    picture.set(10, 10, 0x0001);  // far darker than its surroundings
    picture.set(11, 10, 0xF800);  // red does not count
    Prepare(picture);
    CHECK(picture.word(10, 10) == 0xFFFF);
    CHECK(picture.word(11, 10) == 0x0000);
    CHECK(picture.word(12, 10) == 0xFFFF);
}

TEST_CASE("the headers are rebuilt for every picture") {
    TestPicture picture(kFormatRgb565, 8, 8);
    for (int time = 0; time < 2; ++time) {
        Prepare(picture);
        CHECK(picture.picture.fileHeader.bfOffBits == 66);
        REQUIRE(picture.picture.infoHeader);
        const BITMAPINFOHEADER& header = picture.picture.infoHeader->header;
        CHECK(header.biSize == 40);
        CHECK(header.biWidth == 0);
        CHECK(header.biHeight == 0);
        CHECK(header.biPlanes == 1);
        CHECK(header.biBitCount == 16);
        CHECK(header.biCompression == BI_BITFIELDS);
        CHECK(header.biXPelsPerMeter == 7559);
        CHECK(header.biYPelsPerMeter == 7559);
        CHECK(picture.picture.infoHeader->greenMask == 0x07E0);
        *picture.picture.infoHeader = {};
        picture.picture.fileHeader.bfOffBits = 0;
    }
}

TEST_CASE("rows that are shorter than their pixels overlap, in the frame and in the file") {
    constexpr wchar_t kName[] = L"overlap.bmp";  // no picture for a decoder to judge
    TestPicture picture(kFormatYuy2, 4, 2, kName);
    picture.picture.stride = 4;
    FillYuy2(picture, 81, 128, 128);
    ImageWriter writer(picture.picture, picture.frame());
    writer.Prepare();
    CHECK(writer.Store() == 0);
    CHECK(picture.word(0, 1) == 0x4A69);  // of one row only
    CHECK(picture.word(3, 0) == 0x4A69);
    CHECK(picture.marginIsIntact());
    CHECK(ReadBytes(kName).size() == 66 + 2 * 4);
    DeleteFileW(kName);
}
