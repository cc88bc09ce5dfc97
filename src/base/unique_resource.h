// Owners for handles and other system resources that are no COM interfaces.
#pragma once

#include <windows.h>

#include <utility>

namespace cam {

// Owns one resource. Policy says what it is (`Type`), what no resource looks like (`Empty()`) and how it
// goes away (`Close(Type)`). reset() keeps the thread's last error, so that a failure can be reported after
// cleaning up.
template <typename Policy>
class UniqueResource {
  public:
    using Type = typename Policy::Type;

    UniqueResource() = default;
    explicit UniqueResource(Type owned) : value_(owned) {}
    UniqueResource(UniqueResource&& other) noexcept : value_(other.release()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    ~UniqueResource() { reset(); }

    Type get() const { return value_; }
    explicit operator bool() const { return value_ != Policy::Empty(); }
    Type release() { return std::exchange(value_, Policy::Empty()); }

    void reset(Type owned = Policy::Empty()) {
        const Type old = std::exchange(value_, owned);
        if (old == Policy::Empty()) return;
        const DWORD error = GetLastError();
        Policy::Close(old);
        SetLastError(error);
    }

    // For functions that hand out a resource; what was held is closed first.
    Type* put() {
        reset();
        return &value_;
    }

  private:
    Type value_ = Policy::Empty();
};

struct HandlePolicy {  // kernel handles that are null when absent: events, threads
    using Type = HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type handle) { CloseHandle(handle); }
};
using UniqueHandle = UniqueResource<HandlePolicy>;

struct FileHandlePolicy {
    using Type = HANDLE;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) { CloseHandle(handle); }
};
using UniqueFileHandle = UniqueResource<FileHandlePolicy>;

struct RegistryKeyPolicy {
    using Type = HKEY;
    static Type Empty() { return nullptr; }
    static void Close(Type key) { RegCloseKey(key); }
};
using UniqueRegistryKey = UniqueResource<RegistryKeyPolicy>;

}  // namespace cam
