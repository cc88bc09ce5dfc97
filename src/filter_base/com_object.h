// COM objects with one atomic count and an optional outer object, and the list of the interfaces that a class
// offers.
#pragma once

#include <atomic>

#include "filter_base/direct_show.h"

namespace cam::filter_base {

// How many ComObjects of this module are alive. While there are any, the module must stay loaded.
LONG LiveObjects();

// An object that can be part of an outer one (aggregation). It is born with a count of 0: whoever creates it
// takes the first reference on Inner().
class ComObject {
  public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    // The object's own unknown, whose count keeps it alive. An outer object holds this one; everybody else
    // holds interfaces whose three first operations go to the outer object.
    IUnknown* Inner() { return &inner; }

    // The interfaces of this object itself, whatever the outer object offers. A class overrides it through
    // Implements.
    virtual HRESULT NonDelegatingQueryInterface(REFIID id, void** out);

  protected:
    // `outer` is not owned: the outer object outlives this one. Null: this object is its own outer one.
    explicit ComObject(IUnknown* outer);
    virtual ~ComObject();

    HRESULT OuterQueryInterface(REFIID id, void** out) { return outerUnknown->QueryInterface(id, out); }
    ULONG OuterAddRef() { return outerUnknown->AddRef(); }
    ULONG OuterRelease() { return outerUnknown->Release(); }

  private:
    class InnerUnknown final : public IUnknown {
      public:
        explicit InnerUnknown(ComObject& of) : object(of) {}

        // IUnknown
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
            return object.NonDelegatingQueryInterface(id, out);
        }
        ULONG STDMETHODCALLTYPE AddRef() override;
        ULONG STDMETHODCALLTYPE Release() override;

      private:
        ComObject& object;
    };

    InnerUnknown inner{*this};
    IUnknown* outerUnknown;
    std::atomic<LONG> references = 0;
};

// Whether a pointer to Interface serves the interface `id`. Specialised where Interface derives from others
// than IUnknown.
template <typename Interface>
bool Serves(REFIID id) {
    return id == __uuidof(Interface);
}
template <>
inline bool Serves<IBaseFilter>(REFIID id) {
    return id == __uuidof(IBaseFilter) || id == __uuidof(IMediaFilter) || id == __uuidof(IPersist);
}

// Base with further Interfaces, whose IUnknown operations go to Base's outer object. The list is the
// interface map: NonDelegatingQueryInterface looks through it before it asks Base.
template <typename Base, typename... Interfaces>
class Implements : public Base, public Interfaces... {
  public:
    using Base::Base;

    // IUnknown, of every interface in the list
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        return this->OuterQueryInterface(id, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return this->OuterAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return this->OuterRelease(); }

    HRESULT NonDelegatingQueryInterface(REFIID id, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        const bool found =
            ((Serves<Interfaces>(id) && (*out = static_cast<Interfaces*>(this)) != nullptr) || ...);
        if (!found) return Base::NonDelegatingQueryInterface(id, out);
        this->OuterAddRef();
        return S_OK;
    }
};

}  // namespace cam::filter_base
