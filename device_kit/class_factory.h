// What the kit's class factories share.
#pragma once

#include <unknwn.h>

#include <atomic>

namespace kit {

// A factory with a count of its own, born with 1.
class ClassFactoryBase : public IClassFactory {
  public:
    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = iid == __uuidof(IUnknown) || iid == __uuidof(IClassFactory) ? this : nullptr;
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

  protected:
    virtual ~ClassFactoryBase() = default;

  private:
    std::atomic<ULONG> references_ = 1;
};

}  // namespace kit
