#include "filter_base/category_pin.h"

#include <cstring>

namespace cam::filter_base {

HRESULT STDMETHODCALLTYPE CategoryPin::Set(REFGUID, ULONG, void*, ULONG, void*, ULONG) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE CategoryPin::Get(REFGUID set, ULONG id, void*, ULONG, void* data, ULONG size,
                                           ULONG* returned) {
    if (set != AMPROPSETID_Pin) return E_PROP_SET_UNSUPPORTED;
    if (id != AMPROPERTY_PIN_CATEGORY) return E_PROP_ID_UNSUPPORTED;
    if (!data && !returned) return E_POINTER;
    if (returned) *returned = sizeof(GUID);
    if (!data) return S_OK;
    if (size < sizeof(GUID)) return E_UNEXPECTED;
    std::memcpy(data, &category, sizeof category);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CategoryPin::QuerySupported(REFGUID set, ULONG id, ULONG* support) {
    constexpr ULONG kSupportsGet = 1;
    if (set != AMPROPSETID_Pin) return E_PROP_SET_UNSUPPORTED;
    if (id != AMPROPERTY_PIN_CATEGORY) return E_PROP_ID_UNSUPPORTED;
    if (support) *support = kSupportsGet;
    return S_OK;
}

}  // namespace cam::filter_base
