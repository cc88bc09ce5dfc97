// The most memory that each format allocates at a time beside the frame, on Windows. The allocation functions
// are wrapped by the linker (pixel.cmake), those of the libraries linked in too; msvcrt's own are not.
#include <windows.h>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <vector>

#include "still/encoders/picture_writers.h"

namespace {
std::size_t held, peak;

void* Count(void* block) {
    if (block) held += _msize(block);
    peak = std::max(peak, held);
    return block;
}
void Forget(void* block) {
    if (block) held -= _msize(block);
}
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return Count(__real_malloc(size));
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Count(__real_calloc(count, size));
}
void* __wrap_realloc(void* block, std::size_t size) {
    const std::size_t before = block ? _msize(block) : 0;
    void* const grown = __real_realloc(block, size);
    if (grown || size == 0) held -= before;
    return Count(grown);
}
void __wrap_free(void* block) {
    Forget(block);
    __real_free(block);
}
}

int main() {
    using namespace cam::still;
    constexpr wchar_t kFile[] = L"memory_bench.file";
    constexpr struct {
        const char* name;
        decltype(&WriteBmp) write;
    } kFormats[] = {{"BMP", WriteBmp}, {"JPEG", WriteJpeg}, {"PNG", WritePng}, {"TIFF", WriteTiff}};
    constexpr struct {
        LONG width, height;
    } kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}, {2976, 1680}};
    std::printf("KB at most");
    for (const auto& size : kSizes) std::printf(" %6ldx%ld", size.width, size.height);
    std::printf("\n");
    for (const auto& format : kFormats) {
        std::printf("%-10s", format.name);
        for (const auto& size : kSizes) {
            const auto stride = static_cast<DWORD>(cam::RowStride(static_cast<DWORD>(size.width)));
            std::vector<BYTE> bytes(stride * static_cast<std::size_t>(size.height));
            StillPicture picture;
            picture.fileName.reset(new wchar_t[std::wcslen(kFile) + 1]);
            std::wcscpy(picture.fileName.get(), kFile);
            const std::size_t before = peak = held;
            if (format.write(picture, {bytes, size.width, size.height, stride}) != S_OK) return 1;
            std::printf(" %10.1f", static_cast<double>(peak - before) / 1024);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    DeleteFileW(kFile);
    return 0;
}
