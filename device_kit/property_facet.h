// The controls of the kit's cameras.
#pragma once

#include <string>

#include "filter_base/camera_filter.h"
#include "properties.h"

namespace kit {

// One set of properties of the filter `Owner`.
template <typename Interface, PropertySet kSet, typename Owner>
class PropertyFacet final : public cam::filter_base::PropertySetPart<Interface> {
  public:
    explicit PropertyFacet(Owner& owner)
        : cam::filter_base::PropertySetPart<Interface>(owner), filter(owner) {}

    // IAMVideoProcAmp, IAMCameraControl
    HRESULT STDMETHODCALLTYPE GetRange(LONG number, LONG* minimum, LONG* maximum, LONG* step, LONG* initial,
                                       LONG* flags) override;
    HRESULT STDMETHODCALLTYPE Set(LONG number, LONG value, LONG flags) override;
    HRESULT STDMETHODCALLTYPE Get(LONG number, LONG* value, LONG* flags) override;

  private:
    Owner& filter;
};

inline std::wstring CallOf(PropertySet set, const wchar_t* method) {
    return (set == PropertySet::VideoProcAmp ? L"IAMVideoProcAmp::" : L"IAMCameraControl::") +
           std::wstring(method);
}

constexpr bool IsCameraId(PropertySet set, LONG number) {
    return set == PropertySet::VideoProcAmp && number == kPropertyCameraId;
}

template <typename Interface, PropertySet kSet, typename Owner>
HRESULT PropertyFacet<Interface, kSet, Owner>::GetRange(LONG number, LONG* minimum, LONG* maximum, LONG* step,
                                                        LONG* initial, LONG* flags) {
    return filter.CameraCall(CallOf(kSet, L"GetRange"), std::to_wstring(number), [&]() -> HRESULT {
        if (!minimum || !maximum || !step || !initial || !flags) return E_POINTER;
        return filter.WithProperties([&](const PropertyTable& table) -> HRESULT {
            const Property* property = table.Find(kSet, number);
            if (!property || !property->supported) return kNoSuchProperty;
            *minimum = property->minimum;
            *maximum = property->maximum;
            *step = property->step;
            *initial = property->initial;
            *flags = property->capabilities;
            return S_OK;
        });
    });
}

template <typename Interface, PropertySet kSet, typename Owner>
HRESULT PropertyFacet<Interface, kSet, Owner>::Set(LONG number, LONG value, LONG flags) {
    return filter.CameraCall(CallOf(kSet, L"Set"), std::to_wstring(number), [&] {
        return filter.WithProperties(
            [&](PropertyTable& table) -> HRESULT { return table.Set(kSet, number, value, flags); });
    });
}

template <typename Interface, PropertySet kSet, typename Owner>
HRESULT PropertyFacet<Interface, kSet, Owner>::Get(LONG number, LONG* value, LONG* flags) {
    return filter.CameraCall(CallOf(kSet, L"Get"), std::to_wstring(number), [&]() -> HRESULT {
        if (!value || !flags) return E_POINTER;
        if (IsCameraId(kSet, number)) {
            *value = filter.CameraId();
            *flags = kFlagManual;
            return S_OK;
        }
        return filter.WithProperties([&](const PropertyTable& table) -> HRESULT {
            const Property* property = table.Find(kSet, number);
            if (!property || !property->supported) return kNoSuchProperty;
            *value = property->value;
            *flags = property->flags;
            return S_OK;
        });
    });
}

}  // namespace kit
