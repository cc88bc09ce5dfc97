// A buffer that ends where an unreadable page begins, or begins where one ends.
#pragma once

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstdlib>

enum class Flush { AtStart, AtEnd };

class GuardedBuffer {
  public:
    GuardedBuffer(std::size_t size, Flush flush) : mapped_((size + kPage - 1) / kPage * kPage + 2 * kPage) {
#ifdef _WIN32
        base_ = static_cast<std::uint8_t*>(VirtualAlloc(nullptr, mapped_, MEM_RESERVE, PAGE_NOACCESS));
        if (!base_ || !VirtualAlloc(base_ + kPage, mapped_ - 2 * kPage, MEM_COMMIT, PAGE_READWRITE))
            std::abort();
#else
        void* base = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) std::abort();
        base_ = static_cast<std::uint8_t*>(base);
        if (mprotect(base_ + kPage, mapped_ - 2 * kPage, PROT_READ | PROT_WRITE) != 0) std::abort();
#endif
        data_ = flush == Flush::AtStart ? base_ + kPage : base_ + mapped_ - kPage - size;
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer() {
#ifdef _WIN32
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, mapped_);
#endif
    }

    std::uint8_t* data() {
        return data_;
    }

  private:
    static constexpr std::size_t kPage = 4096;
    std::size_t mapped_;
    std::uint8_t* base_;
    std::uint8_t* data_;
};
