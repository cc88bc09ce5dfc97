// BMP, JPEG and PNG files, written and failed to be written. The files left in the picture folder are judged
// afterwards by decoders from elsewhere (check_pictures.sh), against a PPM of the same pixels.
#include "still/encoders/picture_writers.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include "refused_call.h"
#include "still/encoders/byte_sink.h"
#include "still/encoders/jpeg_encoder.h"
#include "still/encoders/jpeg_quality.h"
#include "still/encoders/png_encoder.h"
#include "still/test_picture.h"

using namespace cam::still;

namespace {

// The same pixels in a form that needs no encoder, for comparison.
void WritePpm(TestPicture& picture, const std::wstring& name) {
    std::string ppm =
        "P6\n" + std::to_string(picture.frame.width) + " " + std::to_string(picture.rows()) + "\n255\n";
    for (LONG y = 0; y < static_cast<LONG>(picture.rows()); ++y) {
        for (LONG x = 0; x < picture.frame.width; ++x) {
            const int word = picture.word(x, y);
            ppm += static_cast<char>(std::lround((word >> 11) * 255.0 / 31));
            ppm += static_cast<char>(std::lround((word >> 5 & 63) * 255.0 / 63));
            ppm += static_cast<char>(std::lround((word & 31) * 255.0 / 31));
        }
    }
    WriteBytes(name, ppm);
}

class QualityKey {
  public:
    explicit QualityKey(int level)
        : path(L"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\" + std::to_wstring(level) +
               L"\\JPG\\Quality") {}
    ~QualityKey() { RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str()); }
    void set(DWORD type, const void* value, DWORD size) {
        HKEY key = nullptr;
        REQUIRE(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                &key, nullptr) == ERROR_SUCCESS);
        REQUIRE(RegSetValueExW(key, L"Value", 0, type, static_cast<const BYTE*>(value), size) ==
                ERROR_SUCCESS);
        RegCloseKey(key);
    }
    void set(DWORD number) { set(REG_DWORD, &number, sizeof number); }

  private:
    std::wstring path;
};

// Takes a number of writes at each attempt, then no more.
class FailingSink final : public ByteSink {
  public:
    explicit FailingSink(std::vector<int> writes) : writesAtAttempt(std::move(writes)) {}
    bool Write(std::span<const std::uint8_t> some) override {
        if (writesAtAttempt.at(attempts - 1)-- <= 0) return false;
        bytes.insert(bytes.end(), some.begin(), some.end());
        return true;
    }
    bool Restart() override {
        bytes.clear();
        ++attempts;
        return true;
    }

    std::size_t attempts = 1;
    std::vector<std::uint8_t> bytes;

  private:
    std::vector<int> writesAtAttempt;
};

bool CanWrite(const std::wstring& name) {
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    return true;
}

struct Size {
    LONG width, height;
};

}  // namespace

TEST_CASE("a BMP file is header, masks and the frame as it lies in memory") {
    for (const Size& size : {Size{640, 480}, Size{640, -480}, Size{3, 2}, Size{3, -2}}) {
        CAPTURE(size.width);
        CAPTURE(size.height);
        const std::wstring name = InFolder(L"layout.bmp");
        TestPicture picture(PixelFormat::Rgb565, size.width, size.height, name);
        picture.paint();
        REQUIRE(picture.prepareAndStore() == 0);
        const auto bytes = ReadBytes(name);
        const DWORD imageBytes = picture.rows() * picture.frame.stride;
        REQUIRE(bytes.size() == 66 + imageBytes);
        CHECK(bytes.substr(0, 2) == "BM");
        std::vector<LONG> header(16);
        std::memcpy(header.data(), bytes.data() + 2, 64);
        const LONG fileBytes = static_cast<LONG>(66 + imageBytes), oneOf16Bits = 1 | 16 << 16;
        CHECK(header == std::vector<LONG>{fileBytes, 0, 66, 40, size.width, size.height, oneOf16Bits, 3, 0,
                                          7559, 7559, 0, 0, 0xF800, 0x07E0, 0x001F});
        CHECK(std::memcmp(bytes.data() + 66, picture.frame.bytes.data(), imageBytes) == 0);
    }
}

TEST_CASE("pictures for other decoders") {
    for (const wchar_t* extension : {L"jpg", L"png", L"bmp"}) {
        for (const Size& size :
             {Size{200, 120}, Size{200, -120}, Size{3, 5}, Size{37, -64}, Size{1, 1}, Size{1600, 1200}}) {
            const std::wstring name =
                InFolder(std::to_wstring(size.width) + (size.height < 0 ? L"_down_" : L"_up_") +
                         std::to_wstring(cam::RowCount(size.height)));
            TestPicture picture(PixelFormat::Rgb565, size.width, size.height, name + L"." + extension);
            picture.paint();
            WritePpm(picture, name + L".ppm");
            CHECK(picture.prepareAndStore() == 0);
        }
    }
}

TEST_CASE("JPEG quality comes from the level's own registry key") {
    const DWORD fifty = 50;
    SUBCASE("no key") {
        for (int level = 0; level < 4; ++level) CHECK(JpegQuality(static_cast<BYTE>(level)) == -1);
    }
    SUBCASE("a key for level 1") {
        QualityKey key(1);
        key.set(fifty);
        CHECK(JpegQuality(0) == -1);
        CHECK(JpegQuality(1) == 50);
        CHECK(JpegQuality(2) == -1);
        CHECK(JpegQuality(255) == -1);
        for (const BYTE level : {0, 1}) {
            const std::wstring name = InFolder(level ? L"quality_50" : L"quality_90");
            TestPicture picture(PixelFormat::Rgb565, 160, 100, name + L".jpg");
            picture.paint();
            picture.picture.qualityLevel = level;
            WritePpm(picture, name + L".ppm");
            CHECK(picture.prepareAndStore() == 0);
        }
    }
    SUBCASE("a level that has no key") {
        QualityKey key(3);
        key.set(fifty);
        CHECK(JpegQuality(3) == -1);
    }
    SUBCASE("values that are no numbers") {
        QualityKey key(0);
        key.set(REG_SZ, L"fifty", 12);
        CHECK(JpegQuality(0) == -1);
        key.set(REG_BINARY, "2", 1);
        CHECK(JpegQuality(0) == '2');
        key.set(static_cast<DWORD>(-5));
        CHECK(JpegQuality(0) == -5);
    }
}

TEST_CASE("the extension chooses the format, in any case") {
    struct {
        const wchar_t* name;
        std::string start;  // empty: no file
    } const cases[] = {
        {L"format.BmP", "BM"},     {L"format.jPg", "\xFF\xD8"}, {L"format.Png", "\x89P"},
        {L"format.tIF", "II"},     {L"format.jpeg", ""},        {L"format", ""},
        {L"format.png.bmp", "BM"},
    };
    for (const auto& c : cases) {
        CAPTURE(std::string(c.name, c.name + std::wcslen(c.name)));
        const std::wstring name = InFolder(c.name);
        DeleteFileW(name.c_str());
        TestPicture picture(PixelFormat::Rgb565, 32, 32, name);
        picture.paint();
        CHECK(picture.prepareAndStore() == 0);
        CHECK(FileExists(name) == !c.start.empty());
        CHECK(ReadBytes(name).substr(0, 2) == c.start);
    }
    TestPicture unnamed(PixelFormat::Rgb565, 32, 32);
    CHECK(unnamed.prepareAndStore() == 0);
}

TEST_CASE("a file that cannot be created fails the picture and leaves nothing") {
    for (const wchar_t* extension : {L".bmp", L".jpg", L".png"}) {
        CAPTURE(std::string(extension, extension + 4));
        const std::wstring missing = std::wstring(L"no_such_folder\\a") + extension;
        TestPicture picture(PixelFormat::Rgb565, 64, 48, missing);
        CHECK(picture.prepareAndStore() == 0x80000000 + ERROR_PATH_NOT_FOUND);
        CHECK(!FileExists(missing));

        const std::wstring folder = InFolder(std::wstring(L"taken") + extension);
        CreateDirectoryW(folder.c_str(), nullptr);
        TestPicture overFolder(PixelFormat::Rgb565, 64, 48, folder);
        CHECK((overFolder.prepareAndStore() & 0x80000000) != 0);
        CHECK(FileExists(folder));

        // A file that somebody else has open is neither replaced nor deleted.
        const std::wstring held = InFolder(std::wstring(L"held") + extension);
        WriteBytes(held, "kept");
        const HANDLE holder = CreateFileW(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        REQUIRE(holder != INVALID_HANDLE_VALUE);
        TestPicture overHeld(PixelFormat::Rgb565, 64, 48, held);
        CHECK(overHeld.prepareAndStore() == 0x80000000 + ERROR_SHARING_VIOLATION);
        CloseHandle(holder);
        CHECK(ReadBytes(held) == "kept");
        // Nor is a read-only one, where the attribute binds (it does not for a superuser under Wine).
        SetFileAttributesW(held.c_str(), FILE_ATTRIBUTE_READONLY);
        if (!CanWrite(held)) {
            CHECK(overHeld.prepareAndStore() == 0x80000000 + ERROR_ACCESS_DENIED);
            CHECK(ReadBytes(held) == "kept");
        }
        SetFileAttributesW(held.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(held.c_str());
        RemoveDirectoryW(folder.c_str());
    }
}

TEST_CASE("a picture that the library refuses is deleted again") {
    const std::wstring jpeg = InFolder(L"too_wide.jpg");
    TestPicture wide(PixelFormat::Rgb565, 65501, 1, jpeg);
    CHECK((wide.prepareAndStore() & 0x80000000) != 0);
    CHECK(!FileExists(jpeg));

    const std::wstring png = InFolder(L"no_rows.png");
    TestPicture empty(PixelFormat::Rgb565, 8, 0, png);
    CHECK((empty.prepareAndStore() & 0x80000000) != 0);
    CHECK(!FileExists(png));

    // A frame that cannot be read: the headers are written, the pixels are not.
    const std::wstring bmp = InFolder(L"unreadable.bmp");
    TestPicture unreadable(PixelFormat::Rgb565, 640, 480, bmp);
    unreadable.writer().Prepare();
    unreadable.frame.bytes = {reinterpret_cast<BYTE*>(UINT_PTR{16}), unreadable.frame.bytes.size()};
    CHECK((WriteBmp(unreadable.picture, unreadable.frame) & 0x80000000) != 0);
    CHECK(!FileExists(bmp));
}

extern "C" decltype(&DeleteFileW) importOfDeleteFile TEST_IMPORT(DeleteFileW, 4);

namespace {
int refusedDeletions;
const auto reallyDelete = importOfDeleteFile;

BOOL WINAPI DeleteOrRefuse(const wchar_t* name) {
    return refusedDeletions-- > 0 ? FALSE : reallyDelete(name);
}
}  // namespace

TEST_CASE("half a picture does not stay, though somebody else holds its file") {
    for (const int refused : {1, 1000}) {
        CAPTURE(refused);
        const std::wstring name = InFolder(L"held.bmp");
        TestPicture unreadable(PixelFormat::Rgb565, 640, 480, name);
        unreadable.writer().Prepare();
        unreadable.frame.bytes = {reinterpret_cast<BYTE*>(UINT_PTR{16}), unreadable.frame.bytes.size()};
        refusedDeletions = refused;
        {
            const Redirected refusal(importOfDeleteFile, DeleteOrRefuse);
            CHECK((WriteBmp(unreadable.picture, unreadable.frame) & 0x80000000) != 0);
        }
        WIN32_FILE_ATTRIBUTE_DATA data = {};
        CHECK((GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data) != FALSE) == (refused > 1));
        CHECK(data.nFileSizeLow == 0);
        DeleteFileW(name.c_str());
    }
}

TEST_CASE("a device that takes no more ends the picture with the device's error") {
    for (const wchar_t* extension : {L".bmp", L".jpg", L".png"}) {
        CAPTURE(std::string(extension, extension + 4));
        const std::wstring name = std::wstring(L"\\\\.\\pipe\\ocellus_still") + extension;
        const HANDLE pipe = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1,
                                             512, 512, 0, nullptr);
        REQUIRE(pipe != INVALID_HANDLE_VALUE);
        // Reads a little and goes away in the middle of the picture.
        std::thread reader([pipe] {
            ConnectNamedPipe(pipe, nullptr);
            BYTE some[100];
            DWORD read = 0;
            ReadFile(pipe, some, sizeof some, &read, nullptr);
            CloseHandle(pipe);
        });
        TestPicture picture(PixelFormat::Rgb565, 640, 480, name);
        picture.paint();
        const DWORD result = picture.prepareAndStore();
        reader.join();
        CHECK(result > 0x80000000);
    }
}

TEST_CASE("encoders end when the sink takes no more, wherever that is") {
    TestPicture picture(PixelFormat::Rgb565, 1600, 1200);
    std::uint32_t noise = 1;
    for (BYTE& value : picture.frame.bytes) {
        noise = noise * 1664525 + 1013904223;
        value = static_cast<BYTE>(noise >> 24);
    }
    for (const int writes : {0, 1, 5}) {
        CAPTURE(writes);
        FailingSink jpegSink({writes});
        CHECK(EncodeJpeg(picture.frame, 90, jpegSink) == EncodeStatus::Failed);
        CHECK(jpegSink.attempts == 1);
        FailingSink pngSink({writes, 0, writes});
        CHECK(EncodePng(picture.frame, pngSink) == EncodeStatus::Failed);
        CHECK(pngSink.attempts == 3);
    }
}

TEST_CASE("a PNG that failed for a moment is whole all the same") {
    TestPicture picture(PixelFormat::Rgb565, 320, 240);
    picture.paint();
    constexpr int kAll = 1000;
    FailingSink undisturbed({kAll});
    REQUIRE(EncodePng(picture.frame, undisturbed) == EncodeStatus::Done);
    FailingSink disturbed({0, 0, kAll});
    CHECK(EncodePng(picture.frame, disturbed) == EncodeStatus::Done);
    CHECK(disturbed.attempts == 3);
    CHECK(disturbed.bytes == undisturbed.bytes);
}
