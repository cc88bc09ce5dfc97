// A webcam's controls as the driver's own.
#pragma once

#include <strmif.h>

namespace cam::driver {

class CameraDriver;

// IAMVideoProcAmp or IAMCameraControl, part of the driver: the two have the same operations, so one object
// cannot implement both. Ranges, values and flags are the webcam's; property -1 is the number of the webcam.
template <typename Interface>
class PropertyFacet final : public Interface {
  public:
    explicit PropertyFacet(CameraDriver& owner) : driver(owner) {}
    virtual ~PropertyFacet() = default;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    // IAMVideoProcAmp, IAMCameraControl
    HRESULT STDMETHODCALLTYPE GetRange(LONG number, LONG* minimum, LONG* maximum, LONG* step, LONG* initial,
                                       LONG* flags) override;
    HRESULT STDMETHODCALLTYPE Set(LONG number, LONG value, LONG flags) override;
    HRESULT STDMETHODCALLTYPE Get(LONG number, LONG* value, LONG* flags) override;

  private:
    CameraDriver& driver;
};

}  // namespace cam::driver
