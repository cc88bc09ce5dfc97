// Memory that ends, to the byte, where no access is allowed.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace cam::test {

class GuardedBlock {
  public:
    explicit GuardedBlock(size_t size) : size_(size) {
        constexpr size_t kPage = 65536;  // a multiple of every page size
        whole_ = (size + kPage - 1) / kPage * kPage + kPage;
#ifdef _WIN32
        base_ =
            static_cast<uint8_t*>(VirtualAlloc(nullptr, whole_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old = 0;
        VirtualProtect(base_ + whole_ - kPage, kPage, PAGE_NOACCESS, &old);
#else
        base_ = static_cast<uint8_t*>(
            mmap(nullptr, whole_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + whole_ - kPage, kPage, PROT_NONE);
#endif
        data_ = base_ + whole_ - kPage - size;
    }
    GuardedBlock(const void* contents, size_t size) : GuardedBlock(size) {
        if (size) memcpy(data_, contents, size);
    }
    ~GuardedBlock() {
#ifdef _WIN32
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, whole_);
#endif
    }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    uint8_t* data() const {
        return data_;
    }
    size_t size() const {
        return size_;
    }

  private:
    size_t size_;
    size_t whole_;
    uint8_t* base_;
    uint8_t* data_;
};

}  // namespace cam::test
