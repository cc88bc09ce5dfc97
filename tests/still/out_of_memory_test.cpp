// Pictures for which there is no memory.
#include <doctest/doctest.h>

#include <cstdlib>
#include <new>

#include "still/encoders/picture_writers.h"
#include "still/test_picture.h"

using namespace cam::still;

namespace {

// How many more allocations succeed; below 0: all.
int allocationsLeft = -1;

class Shortage {
  public:
    explicit Shortage(int allocations) { allocationsLeft = allocations; }
    ~Shortage() { allocationsLeft = -1; }
};

void* Allocate(std::size_t size) {
    if (allocationsLeft == 0) return nullptr;
    if (allocationsLeft > 0) --allocationsLeft;
    return std::malloc(size ? size : 1);
}

}  // namespace

// The library asks for its buffers in this way; what the test framework needs is not affected.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void* operator new(std::size_t size) {
    if (void* block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}

TEST_CASE("JPEG and PNG without memory for a row or for the output fail and leave no file") {
    const struct {
        const wchar_t* extension;
        int needed;
    } formats[] = {{L".jpg", 2}, {L".png", 3}};
    for (const auto& [extension, needed] : formats) {
        for (int allocations = 0; allocations < needed; ++allocations) {
            const std::wstring name = InFolder(std::wstring(L"no_memory") + extension);
            TestPicture picture(PixelFormat::Rgb565, 64, 48, name);
            ImageWriter writer = picture.writer();
            writer.Prepare();
            DWORD result = 0;
            {
                const Shortage shortage(allocations);
                result = writer.Store();
            }
            CHECK(result == static_cast<DWORD>(E_OUTOFMEMORY));
            CHECK(!FileExists(name));
        }
    }
}

TEST_CASE(
    "TIFF without memory for its output fails before the file is touched, and later cannot be encoded") {
    const std::wstring name = InFolder(L"no_memory.tif");
    WriteBytes(name, "kept");
    TestPicture picture(PixelFormat::Rgb565, 64, 48, name);
    for (const DWORD expected : {static_cast<DWORD>(E_OUTOFMEMORY), static_cast<DWORD>(ERROR_BAD_FORMAT)}) {
        const Shortage shortage(expected == ERROR_BAD_FORMAT ? 1 : 0);
        CHECK(WriteTiff(picture.picture, picture.frame) == expected);
    }
    CHECK(ReadBytes(name) == "kept");
    DeleteFileW(name.c_str());
}

TEST_CASE("a BMP picture takes no memory") {
    const std::wstring name = InFolder(L"no_memory.bmp");
    TestPicture picture(PixelFormat::Rgb565, 64, 48, name);
    DWORD result = ERROR_GEN_FAILURE;
    {
        const Shortage shortage(0);
        result = picture.prepareAndStore();
    }
    CHECK(result == 0);
    CHECK(ReadBytes(name).size() == 66 + picture.frame.size());
    DeleteFileW(name.c_str());
}
