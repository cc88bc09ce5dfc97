// A webcam's controls as the driver's own.
#pragma once

#include "filter_base/camera_filter.h"

namespace cam::driver {

class CameraDriver;

// Ranges, values and flags are the webcam's; property -1 is the number of the webcam.
template <typename Interface>
class PropertyFacet final : public filter_base::PropertySetPart<Interface> {
  public:
    explicit PropertyFacet(CameraDriver& owner);

    // IAMVideoProcAmp, IAMCameraControl
    HRESULT STDMETHODCALLTYPE GetRange(LONG number, LONG* minimum, LONG* maximum, LONG* step, LONG* initial,
                                       LONG* flags) override;
    HRESULT STDMETHODCALLTYPE Set(LONG number, LONG value, LONG flags) override;
    HRESULT STDMETHODCALLTYPE Get(LONG number, LONG* value, LONG* flags) override;

  private:
    CameraDriver& driver;
};

}  // namespace cam::driver
