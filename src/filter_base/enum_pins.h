// Enumerates a filter's pins.
#pragma once

#include "filter_base/filter.h"

namespace cam::filter_base {

// Keeps its filter alive. When the filter's pins change, everything but Reset answers VFW_E_ENUM_OUT_OF_SYNC
// until Reset.
class PinEnumerator final : public Implements<ComObject, IEnumPins> {
  public:
    // With one reference for the caller; null when there is no memory.
    static IEnumPins* Create(Filter& filter, int position);

    // IEnumPins
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, IPin** pins, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumPins** out) override;

  private:
    PinEnumerator(Filter& filter, int position);
    bool IsOutOfStep() const { return version_ != filter_.PinVersion(); }

    Filter& filter_;
    const ComPtr<IBaseFilter> keepAlive_;
    LONG version_;
    int position_;
};

}  // namespace cam::filter_base
