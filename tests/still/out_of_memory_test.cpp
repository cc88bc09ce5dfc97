// Pictures for which there is no memory.
#include <doctest/doctest.h>

#include <cstdlib>
#include <new>

#include "still/image_writer.h"
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
    for (const wchar_t* extension : {L".jpg", L".png"}) {
        for (const int allocations : {0, 1}) {
            const std::wstring name = InFolder(std::wstring(L"no_memory") + extension);
            TestPicture picture(kFormatRgb565, 64, 48, name);
            ImageWriter writer(picture.picture, picture.frame());
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

TEST_CASE("without an info header a picture is neither stamped nor stored as BMP") {
    const std::wstring name = InFolder(L"no_header.bmp");
    TestPicture picture(kFormatRgb565, 64, 48, name);
    picture.picture.overlayText = Copy(L"text");
    ImageWriter writer(picture.picture, picture.frame());
    {
        const Shortage shortage(0);
        writer.Prepare();
    }
    CHECK(!picture.picture.infoHeader);
    CHECK(picture.picture.overlayText);
    CHECK(writer.Store() == static_cast<DWORD>(E_OUTOFMEMORY));
    CHECK(!FileExists(name));
}
