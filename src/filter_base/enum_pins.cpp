#include "filter_base/enum_pins.h"

#include <new>

#include "filter_base/pin.h"

namespace cam::filter_base {

PinEnumerator::PinEnumerator(Filter& filter, int position)
    : Implements(nullptr),
      filter_(filter),
      keepAlive_(&filter),
      version_(filter.PinVersion()),
      position_(position) {}

IEnumPins* PinEnumerator::Create(Filter& filter, int position) {
    auto* enumerator = new (std::nothrow) PinEnumerator(filter, position);
    if (enumerator) enumerator->AddRef();
    return enumerator;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Next(ULONG wanted, IPin** pins, ULONG* fetched) {
    if (!pins) return E_POINTER;
    if (!fetched && wanted > 1) return E_INVALIDARG;
    if (fetched) *fetched = 0;
    const Lock lock(filter_.StateLock());
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    ULONG count = 0;
    for (; count < wanted && position_ < filter_.PinCount(); ++count) {
        pins[count] = filter_.PinAt(position_++);
        pins[count]->AddRef();
    }
    if (fetched) *fetched = count;
    return count == wanted ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Skip(ULONG count) {
    const Lock lock(filter_.StateLock());
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    if (count > static_cast<ULONG>(filter_.PinCount() - position_)) return S_FALSE;
    position_ += static_cast<int>(count);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Reset() {
    const Lock lock(filter_.StateLock());
    version_ = filter_.PinVersion();
    position_ = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Clone(IEnumPins** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const Lock lock(filter_.StateLock());
    if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
    *out = Create(filter_, position_);
    return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace cam::filter_base
