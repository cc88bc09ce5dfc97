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
    explicit ComPtr(T* borrowed) : pointer_(borrowed) {
        if (pointer_) pointer_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ~ComPtr() { reset(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    // Empty before the interface is released, so that a callback during Release finds nothing here.
    void reset() {
        if (T* old = std::exchange(pointer_, nullptr)) old->Release();
    }

    // Takes over a reference that the caller owns.
    void attach(T* owned) {
        reset();
        pointer_ = owned;
    }
    T* detach() { return std::exchange(pointer_, nullptr); }

    // For functions that hand out a reference; what was held is released first.
    T** put() {
        reset();
        return &pointer_;
    }
    void** putVoid() { return reinterpret_cast<void**>(put()); }

    template <typename U>
    HRESULT QueryTo(ComPtr<U>& out) const {
        return pointer_->QueryInterface(__uuidof(U), out.putVoid());
    }

  private:
    T* pointer_ = nullptr;
};

}  // namespace cam
