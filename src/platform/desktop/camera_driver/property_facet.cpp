#include "platform/desktop/camera_driver/property_facet.h"

#include "platform/desktop/camera_driver/camera_driver.h"

namespace cam::driver {
namespace {

constexpr LONG kCameraId = -1;
constexpr LONG kManual = 2;

// E_PROP_SET_UNSUPPORTED: the webcam has no such controls, or is not there.
template <typename Interface>
HRESULT Ask(CameraDriver& driver, ComPtr<Interface>& out) {
    const ComPtr<IBaseFilter> source = driver.Source();
    return source && SUCCEEDED(source.QueryTo(out)) ? S_OK : E_PROP_SET_UNSUPPORTED;
}

}  // namespace

template <typename Interface>
PropertyFacet<Interface>::PropertyFacet(CameraDriver& owner)
    : filter_base::PropertySetPart<Interface>(owner), driver(owner) {}

template <typename Interface>
HRESULT STDMETHODCALLTYPE PropertyFacet<Interface>::GetRange(LONG number, LONG* minimum, LONG* maximum,
                                                             LONG* step, LONG* initial, LONG* flags) {
    ComPtr<Interface> control;
    const HRESULT result = Ask(driver, control);
    return FAILED(result) ? result : control->GetRange(number, minimum, maximum, step, initial, flags);
}

template <typename Interface>
HRESULT STDMETHODCALLTYPE PropertyFacet<Interface>::Set(LONG number, LONG value, LONG flags) {
    ComPtr<Interface> control;
    const HRESULT result = Ask(driver, control);
    return FAILED(result) ? result : control->Set(number, value, flags);
}

template <typename Interface>
HRESULT STDMETHODCALLTYPE PropertyFacet<Interface>::Get(LONG number, LONG* value, LONG* flags) {
    if (!value || !flags) return E_POINTER;
    if (number == kCameraId) {
        *value = driver.Number();
        *flags = kManual;
        return S_OK;
    }
    ComPtr<Interface> control;
    const HRESULT result = Ask(driver, control);
    return FAILED(result) ? result : control->Get(number, value, flags);
}

template class PropertyFacet<IAMVideoProcAmp>;
template class PropertyFacet<IAMCameraControl>;

}  // namespace cam::driver
