// Enumerates the media types that a pin would like.
#pragma once

#include "filter_base/pin.h"

namespace cam::filter_base {

// Keeps its pin alive. When the pin's list changes, everything but Reset answers VFW_E_ENUM_OUT_OF_SYNC until
// Reset.
class MediaTypeEnumerator final : public Implements<ComObject, IEnumMediaTypes> {
  public:
    // With one reference for the caller; null when there is no memory.
    static IEnumMediaTypes* Create(Pin& pin, int position);

    // IEnumMediaTypes. The types that Next hands out are the caller's, to be freed with DeleteMediaType.
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, AM_MEDIA_TYPE** types, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumMediaTypes** out) override;

  private:
    MediaTypeEnumerator(Pin& pin, int position);
    bool IsOutOfStep() const { return version_ != pin_.MediaTypeVersion(); }

    Pin& pin_;
    const ComPtr<IPin> keepAlive_;
    LONG version_;
    int position_;
};

}  // namespace cam::filter_base
