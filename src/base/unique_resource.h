// Owners for handles and other system resources that are no COM interfaces, one line each.
#pragma once

#include <windows.h>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace cam {

// Owns one resource: `kClose` takes it back, `kEmpty` is the number that stands for none. reset() keeps the
// thread's last error, so that a failure can be reported after cleaning up.
template <typename T, auto kClose, std::intptr_t kEmpty = 0>
class UniqueResource {
  public:
    using Type = T;

    static Type Empty() {
        if constexpr (std::is_pointer_v<Type>) {
            return reinterpret_cast<Type>(kEmpty);
        } else {
            return static_cast<Type>(kEmpty);
        }
    }

    UniqueResource() = default;
    explicit UniqueResource(Type owned) : value(owned) {}
    UniqueResource(UniqueResource&& other) noexcept : value(other.release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    ~UniqueResource() { reset(); }

    Type get() const { return value; }
    explicit operator bool() const { return value != Empty(); }
    Type release() { return std::exchange(value, Empty()); }

    void reset(Type owned = Empty()) {
        const Type old = std::exchange(value, owned);
        if (old == Empty()) return;
        const DWORD error = GetLastError();
        kClose(old);
        SetLastError(error);
    }

    // For functions that hand out a resource; what was held is closed first.
    Type* put() {
        reset();
        return &value;
    }

  private:
    Type value = Empty();
};

using UniqueHandle = UniqueResource<HANDLE, CloseHandle>;  // null when absent: events, threads
using UniqueFileHandle = UniqueResource<HANDLE, CloseHandle, -1>;
using UniqueRegistryKey = UniqueResource<HKEY, RegCloseKey>;
using UniqueLibrary = UniqueResource<HMODULE, FreeLibrary>;
using UniqueBrush = UniqueResource<HBRUSH, DeleteObject>;
using UniqueBitmap = UniqueResource<HBITMAP, DeleteObject>;
using UniqueFont = UniqueResource<HFONT, DeleteObject>;
using UniqueMemoryDc = UniqueResource<HDC, DeleteDC>;  // of CreateCompatibleDC; a window's goes otherwise

}  // namespace cam
