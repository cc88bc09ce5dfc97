#include "tiff/save_tiff.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "tiff/byte_buffer.h"
#include "tiff/tiff_file.h"

using namespace cam::tiff;

namespace {

class TempFile {
  public:
    TempFile() {
        wchar_t folder[MAX_PATH], name[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"tif", 0, name);
        name_ = name;
    }
    ~TempFile() { DeleteFileW(name_.c_str()); }
    const wchar_t* Name() const { return name_.c_str(); }
    std::vector<uint8_t> Read() const {
        const HANDLE file =
            CreateFileW(Name(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        REQUIRE(file != INVALID_HANDLE_VALUE);
        std::vector<uint8_t> bytes(GetFileSize(file, nullptr));
        DWORD count = 0;
        ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
        CloseHandle(file);
        return bytes;
    }

  private:
    std::wstring name_;
};

}  // namespace

TEST_CASE("a saved picture replaces the file and holds what was assembled") {
    const TempFile file;
    std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    for (size_t i = 0; i < pixels.size(); i += 38) pixels[i] = pixels[i + 1] = 0;
    for (LONG height : {480L, -480L, 100L}) {
        CHECK(SaveTiff(file.Name(), pixels.data(), 640, height) == 0);
        ByteBuffer expected(10, true);
        REQUIRE(EncodeBilevelTiff(expected, pixels.data(), 640, height, nullptr, false));
        CHECK(file.Read() == std::vector<uint8_t>(expected.Data(), expected.Data() + expected.Length()));
    }
}

TEST_CASE("failures have their numbers, and leave the file that was there or none") {
    const std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    const TempFile file;
    REQUIRE(SaveTiff(file.Name(), pixels.data(), 640, 480) == 0);
    const std::vector<uint8_t> before = file.Read();

    // Before the file is touched.
    CHECK(SaveTiff(file.Name(), pixels.data(), 32768, 1) == 11);
    CHECK(file.Read() == before);

    // A file that cannot be created counts as a short write.
    const std::wstring folder = std::wstring(file.Name()) + L".folder";
    REQUIRE(CreateDirectoryW(folder.c_str(), nullptr));
    CHECK(SaveTiff(folder.c_str(), pixels.data(), 640, 480) == 29);
    CHECK(RemoveDirectoryW(folder.c_str()));
    CHECK(SaveTiff(L"Z:\\no such folder\\x.tif", pixels.data(), 640, 480) == 29);
    CHECK(SaveTiff(L"", pixels.data(), 640, 480) == 29);

    // Somebody else has it open.
    const HANDLE open = CreateFileW(file.Name(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    REQUIRE(open != INVALID_HANDLE_VALUE);
    CHECK(SaveTiff(file.Name(), pixels.data(), 640, 480) == 29);
    CloseHandle(open);
    CHECK(file.Read() == before);
}
