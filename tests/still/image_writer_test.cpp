// What the image writer makes of a frame before it is stored.
#include "still/image_writer.h"

#include <doctest/doctest.h>

#include <limits>

#include "still/test_picture.h"

using namespace cam::still;

namespace {

void FillYuy2(TestPicture& picture, BYTE y, BYTE u, BYTE v) {
    for (std::size_t i = 0; i < picture.frame.bytes.size(); i += 4) {
        BYTE* pair = &picture.frame.bytes[i];
        pair[0] = pair[2] = y;
        pair[1] = u;
        pair[3] = v;
    }
}

}  // namespace

TEST_CASE("YUY2 becomes RGB565 with and without a file name, RGB565 stays") {
    for (const wchar_t* name : {L"", L"a.jpg", L"a.tif.bmp", L"a.tif\\b"}) {
        TestPicture picture(PixelFormat::Yuy2, 5, 3, name);
        FillYuy2(picture, 81, 128, 128);
        picture.writer().Prepare();
        for (LONG y = 0; y < 3; ++y) {
            for (LONG x = 0; x < 5; ++x) CHECK(picture.word(x, y) == 0x4A69);
        }
        CHECK(picture.picture.colorWord == 0);
        CHECK(picture.marginIsIntact());
    }
    TestPicture ready(PixelFormat::Rgb565, 5, 3, L"a.png");
    ready.paint();
    const auto before = ready.memory;
    ready.writer().Prepare();
    CHECK(ready.memory == before);
}

TEST_CASE("a TIFF picture turns black and white and its colours are overridden") {
    for (const PixelFormat format : {PixelFormat::Yuy2, PixelFormat::Rgb565}) {
        CAPTURE(static_cast<LONG>(format));
        TestPicture picture(format, 64, 64, L"a.TiF");
        if (format == PixelFormat::Yuy2)
            FillYuy2(picture, 200, 90, 240);
        else
            picture.fill(0x001F);
        // A dark spot in bright surroundings.
        picture.set(32, 32, 0);
        picture.set(33, 32, 0);
        picture.picture.colorWord = 0x7ABCDEF0;
        picture.writer().Prepare();
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
    TestPicture picture(PixelFormat::Rgb565, 64, -64, L"a.tif");
    picture.fill(0x001F);
    picture.set(10, 10, 0x0001);  // far darker than its surroundings
    picture.set(11, 10, 0xF800);  // red does not count
    picture.writer().Prepare();
    CHECK(picture.word(10, 10) == 0xFFFF);
    CHECK(picture.word(11, 10) == 0x0000);
    CHECK(picture.word(12, 10) == 0xFFFF);
}

TEST_CASE("a frame without columns is left alone however many rows it claims, and is not stored") {
    for (const wchar_t* name : {L"none.bmp", L"none.tif"}) {
        TestPicture picture(PixelFormat::Yuy2, 0, 1, name);
        picture.frame.height = std::numeric_limits<LONG>::max();
        CHECK(picture.prepareAndStore() == static_cast<DWORD>(E_INVALIDARG));
        CHECK(!FileExists(name));
    }
}

TEST_CASE("rows that are shorter than their pixels overlap, in the frame and in the file") {
    constexpr wchar_t kName[] = L"overlap.bmp";  // no picture for a decoder to judge
    TestPicture picture(PixelFormat::Yuy2, 4, 2, kName);
    picture.frame.stride = 4;
    FillYuy2(picture, 81, 128, 128);
    CHECK(picture.prepareAndStore() == 0);
    CHECK(picture.word(0, 1) == 0x4A69);  // of one row only
    CHECK(picture.word(3, 0) == 0x4A69);
    CHECK(picture.marginIsIntact());
    CHECK(ReadBytes(kName).size() == 66 + 2 * 4);
    DeleteFileW(kName);
}
