// An owning COM interface pointer.
#pragma once

#include <unknwn.h>

#include <utility>

namespace cam {

template <typename T>
class ComPtr {
  public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    explicit ComPtr(T* borrowed) : pointer(borrowed) {
        if (pointer) pointer->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.pointer) {}
    ComPtr(ComPtr&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
    ~ComPtr() { reset(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer, other.pointer);
        return *this;
    }

    T* get() const { return pointer; }
    T* operator->() const { return pointer; }
    explicit operator bool() const { return pointer != nullptr; }

    // Empty before the interface is released, so that a callback during Release finds nothing here.
    void reset() {
        if (T* old = std::exchange(pointer, nullptr)) old->Release();
    }

    // Takes over a reference that the caller owns.
    void attach(T* owned) {
        reset();
        pointer = owned;
    }
    T* detach() { return std::exchange(pointer, nullptr); }

    // For functions that hand out a reference; what was held is released first.
    T** put() {
        reset();
        return &pointer;
    }
    void** putVoid() { return reinterpret_cast<void**>(put()); }

    template <typename U>
    HRESULT QueryTo(ComPtr<U>& out) const {
        return pointer->QueryInterface(__uuidof(U), out.putVoid());
    }

  private:
    T* pointer = nullptr;
};

}  // namespace cam
