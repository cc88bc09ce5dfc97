// operator new and delete over the system's heap: what free() of coredll.dll releases.
#include <new>

#include <stdlib.h>

void* operator new(size_t size) {
    void* block = malloc(size ? size : 1);
    if (!block) throw std::bad_alloc();
    return block;
}

void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return malloc(size ? size : 1);
}
void operator delete(void* block) noexcept {
    free(block);
}
void operator delete[](void* block) noexcept {
    free(block);
}
void operator delete(void* block, size_t) noexcept {
    free(block);
}
void operator delete[](void* block, size_t) noexcept {
    free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    free(block);
}

namespace std {
const nothrow_t nothrow{};
}
