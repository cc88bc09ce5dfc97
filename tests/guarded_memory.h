// Memory that ends, to the byte, where no access is allowed, or begins there.
#pragma once

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace cam::test {

enum class Flush { AtStart, AtEnd };

class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size, Flush flush = Flush::AtEnd)
        : size_(size), mapped_((size + kPage - 1) / kPage * kPage + 2 * kPage) {
#ifdef _WIN32
        base_ = static_cast<std::uint8_t*>(VirtualAlloc(nullptr, mapped_, MEM_RESERVE, PAGE_NOACCESS));
        const std::size_t inside = mapped_ - 2 * kPage;
        if (!base_ || (inside && !VirtualAlloc(base_ + kPage, inside, MEM_COMMIT, PAGE_READWRITE)))
            std::abort();
#else
        void* base = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (base == MAP_FAILED) std::abort();
        base_ = static_cast<std::uint8_t*>(base);
        if (mprotect(base_ + kPage, mapped_ - 2 * kPage, PROT_READ | PROT_WRITE) != 0) std::abort();
#endif
        data_ = flush == Flush::AtStart ? base_ + kPage : base_ + mapped_ - kPage - size;
    }
    GuardedMemory(const void* contents, std::size_t size, Flush flush = Flush::AtEnd)
        : GuardedMemory(size, flush) {
        if (size) std::memcpy(data_, contents, size);
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory() {
#ifdef _WIN32
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, mapped_);
#endif
    }

    std::uint8_t* data() const {
        return data_;
    }
    std::size_t size() const {
        return size_;
    }

  private:
    static constexpr std::size_t kPage = 65536;  // a multiple of every page size
    std::size_t size_;
    std::size_t mapped_;
    std::uint8_t* base_;
    std::uint8_t* data_;
};

}  // namespace cam::test
