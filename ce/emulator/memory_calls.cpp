// The C heap and blocks of memory.
#include <algorithm>
#include <cstring>

#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kLocalZeroed = 0x40, kHeapZeroed = 8;
constexpr u32 kProcessHeap = 0x00E00001;

}  // namespace

void BindMemory(Process& p) {
    auto& heap = p.heap;
    auto& m = p.machine;
    p.Bind(kLibrary, "malloc", [&heap](u32 size) { return heap.Allocate(size); });
    p.Bind(kLibrary, "calloc", [&heap](u32 count, u32 size) -> u32 {
        const u64 bytes = static_cast<u64>(count) * size;
        return bytes > 0xFFFFFFFF ? 0 : heap.Allocate(static_cast<u32>(bytes), true);
    });
    p.Bind(kLibrary, "free", [&heap](u32 block) { heap.Free(block); });

    const auto resize = [&heap, &m](u32 block, u32 size) -> u32 {
        const u32 fresh = heap.Allocate(size);
        if (!fresh || !block) return fresh;
        const u32 kept = std::min(size, heap.Size(block));
        if (kept) std::memcpy(m.Bytes(fresh, kept), m.Bytes(block, kept), kept);
        heap.Free(block);
        return fresh;
    };
    p.Bind(kLibrary, "realloc", resize);
    // There is one heap, whatever the program calls it by.
    p.Bind(kLibrary, "LocalAlloc",
           [&heap](u32 flags, u32 size) { return heap.Allocate(size, (flags & kLocalZeroed) != 0); });
    p.Bind(kLibrary, "LocalReAlloc", [resize](u32 block, u32 size, u32) { return resize(block, size); });
    p.Bind(kLibrary, "LocalFree", [&heap](u32 block) -> u32 { return heap.Free(block), 0; });
    p.Bind(kLibrary, "LocalSize", [&heap](u32 block) { return heap.Size(block); });
    p.Bind(kLibrary, "GetProcessHeap", [] { return kProcessHeap; });
    p.Bind(kLibrary, "HeapAlloc",
           [&heap](u32, u32 flags, u32 size) { return heap.Allocate(size, (flags & kHeapZeroed) != 0); });
    p.Bind(kLibrary, "HeapReAlloc", [resize](u32, u32, u32 block, u32 size) { return resize(block, size); });
    p.Bind(kLibrary, "HeapFree", [&heap](u32, u32, u32 block) -> u32 { return heap.Free(block), 1; });
    p.Bind(kLibrary, "HeapSize", [&heap](u32, u32, u32 block) { return heap.Size(block); });

    p.Bind(kLibrary, "memchr", [&m](u32 at, u32 byte, u32 size) -> u32 {
        if (!size) return 0;
        const u8* bytes = m.Bytes(at, size);
        const void* found = std::memchr(bytes, static_cast<int>(byte), size);
        return found ? at + static_cast<u32>(static_cast<const u8*>(found) - bytes) : 0;
    });
    p.Bind(kLibrary, "memcpy", [&m](u32 to, u32 from, u32 size) {
        if (size) std::memmove(m.Bytes(to, size), m.Bytes(from, size), size);
        return to;
    });
    p.Bind(kLibrary, "memmove", [&m](u32 to, u32 from, u32 size) {
        if (size) std::memmove(m.Bytes(to, size), m.Bytes(from, size), size);
        return to;
    });
    p.Bind(kLibrary, "memset", [&m](u32 to, u32 value, u32 size) {
        if (size) std::memset(m.Bytes(to, size), static_cast<int>(value), size);
        return to;
    });
    p.Bind(kLibrary, "memcmp", [&m](u32 one, u32 other, u32 size) -> i32 {
        return size ? std::memcmp(m.Bytes(one, size), m.Bytes(other, size), size) : 0;
    });
}

}  // namespace ce
