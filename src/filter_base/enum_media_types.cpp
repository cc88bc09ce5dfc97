#include "filter_base/enum_media_types.h"

#include <new>

namespace cam::filter_base {

MediaTypeEnumerator::MediaTypeEnumerator(Pin& pin, int position)
    : Implements(nullptr),
      pin_(pin),
      keepAlive_(&pin),
      version_(pin.MediaTypeVersion()),
      position_(position) {}

IEnumMediaTypes* MediaTypeEnumerator::Create(Pin& pin, int position) {
    auto* enumerator = new (std::nothrow) MediaTypeEnumerator(pin, position);
    if (enumerator) enumerator->AddRef();
    return enumerator;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Next(ULONG wanted, AM_MEDIA_TYPE** types, ULONG* fetched) {
    if (!types) return E_POINTER;
    if (!fetched && wanted > 1) return E_INVALIDARG;
    if (fetched) *fetched = 0;
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    ULONG count = 0;
    for (; count < wanted; ++count) {
        MediaType type;
        if (pin_.GetMediaType(position_, type) != S_OK) break;
        types[count] = CreateMediaType(type);
        if (!types[count]) break;
        ++position_;
    }
    if (fetched) *fetched = count;
    return count == wanted ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Skip(ULONG count) {
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    for (ULONG i = 0; i < count; ++i) {
        MediaType type;
        if (pin_.GetMediaType(position_, type) != S_OK) return S_FALSE;
        ++position_;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Reset() {
    version_ = pin_.MediaTypeVersion();
    position_ = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Clone(IEnumMediaTypes** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    *out = Create(pin_, position_);
    return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace cam::filter_base
