// The C heap and blocks of memory.
#include <cstring>

#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

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
