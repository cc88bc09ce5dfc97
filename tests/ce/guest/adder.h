// An interface whose calls differ between the calling conventions, called and implemented: the DLL that
// includes this exports both.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <new>

// 64-bit arguments behind a 32-bit one, and on the stack: a register pair that does not begin at an even
// register.
struct IAdder : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Add(LONGLONG first, LONGLONG second, double factor, LONGLONG* sum) = 0;
};

class Adder final : public IAdder {
  public:
    STDMETHODIMP QueryInterface(REFIID, void** out) override {
        *out = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = --references;
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }
    STDMETHODIMP Add(LONGLONG one, LONGLONG other, double factor, LONGLONG* out) override {
        *out = one + static_cast<LONGLONG>(static_cast<double>(other) * factor);
        return S_OK;
    }

  private:
    std::atomic<LONG> references{1};
};

extern "C" {

LONGLONG WINAPI CallAdder(IAdder* adder) {
    LONGLONG out = 0;
    adder->Add(0x100000001LL, 0x0000000200000002LL, 2.0, &out);
    return out;
}

IAdder* WINAPI MakeAdder() {
    return new (std::nothrow) Adder;
}
}
