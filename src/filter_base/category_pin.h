// An output pin that says what it is for.
#pragma once

#include "filter_base/output_pin.h"

namespace cam::filter_base {

// Property sets of a kernel streaming pin. The SDK's header of this name is DirectSound's, whose operations
// stand in another order.
struct KsPropertySet : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Set(REFGUID set, ULONG id, void* instance, ULONG instanceSize,
                                          void* data, ULONG size) = 0;
    virtual HRESULT STDMETHODCALLTYPE Get(REFGUID set, ULONG id, void* instance, ULONG instanceSize,
                                          void* data, ULONG size, ULONG* returned) = 0;
    virtual HRESULT STDMETHODCALLTYPE QuerySupported(REFGUID set, ULONG id, ULONG* support) = 0;
};

}  // namespace cam::filter_base

// {31EFAC30-515C-11D0-A9AA-00AA0061BE93}
__CRT_UUID_DECL(cam::filter_base::KsPropertySet, 0x31EFAC30, 0x515C, 0x11D0, 0xA9, 0xAA, 0x00, 0xAA, 0x00,
                0x61, 0xBE, 0x93)

namespace cam::filter_base {

// The graph builder asks for the category of every pin of a capture filter.
class CategoryPin : public Implements<OutputPin, KsPropertySet> {
  public:
    // IKsPropertySet
    HRESULT STDMETHODCALLTYPE Set(REFGUID set, ULONG id, void* instance, ULONG instanceSize, void* data,
                                  ULONG size) override;
    HRESULT STDMETHODCALLTYPE Get(REFGUID set, ULONG id, void* instance, ULONG instanceSize, void* data,
                                  ULONG size, ULONG* returned) override;
    HRESULT STDMETHODCALLTYPE QuerySupported(REFGUID set, ULONG id, ULONG* support) override;

  protected:
    CategoryPin(Filter& filter, const wchar_t* name, const GUID& pinCategory)
        : Implements(filter, name), category(pinCategory) {}

  private:
    const GUID category;
};

}  // namespace cam::filter_base
