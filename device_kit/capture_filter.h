// The camera: a capture source filter as a camera driver's platform registers it.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

#include "capture_pin.h"
#include "class_ids.h"
#include "filter_base/camera_filter.h"
#include "kit.h"
#include "properties.h"
#include "property_facet.h"

namespace kit {

class CaptureFilter final : public cam::filter_base::CameraFilter {
  public:
    explicit CaptureFilter(std::shared_ptr<const Scenario> scenario);

    const Scenario& Played() const { return *scenario; }
    bool IsLoaded() const { return cameraId != kNotLoaded; }
    long CameraId() const { return cameraId; }

    // Any thread.
    PropertyTable Properties() const;
    template <typename Change>
    HRESULT WithProperties(Change&& change) {
        const std::lock_guard guard(propertyLock);
        return change(properties);
    }

    // The number of the next frame; the preview pin counts on. Streaming threads.
    unsigned FrameNumber() const { return frameNumber; }
    void NextFrame() { ++frameNumber; }

    // A call on the camera as the scenario wants it; ERROR_NOT_READY as an HRESULT while no device has been
    // loaded.
    template <typename Work>
    HRESULT CameraCall(std::wstring_view call, std::wstring_view argument, Work&& work) {
        return DeviceCall(call, argument,
                          [&] { return IsLoaded() ? work() : HRESULT_FROM_WIN32(ERROR_NOT_READY); });
    }

    // Filter
    int PinCount() override { return static_cast<int>(pins.size()); }
    cam::filter_base::Pin* PinAt(int index) override { return pins[static_cast<std::size_t>(index)]; }
    HRESULT NonDelegatingQueryInterface(REFIID iid, void** out) override;
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    // CameraFilter
    IAMVideoProcAmp& VideoProcAmp() override { return videoProcAmp; }
    IAMCameraControl& CameraControl() override { return cameraControl; }
    cam::filter_base::Pin* TriggeredPin() override { return &still; }
    HRESULT TriggerStill() override { return still.Trigger(); }
    LONGLONG FrameTime() override { return 10000000 / scenario->framesPerSecond; }
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* errors) override;
    HRESULT STDMETHODCALLTYPE Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;
    // IAMVideoControl
    HRESULT STDMETHODCALLTYPE SetMode(IPin* pin, LONG mode) override;

  private:
    static constexpr long kNotLoaded = -1;
    HRESULT OpenDevice(const std::wstring& name);

    const std::shared_ptr<const Scenario> scenario;
    mutable std::mutex propertyLock;
    PropertyTable properties;
    PropertyFacet<IAMVideoProcAmp, PropertySet::VideoProcAmp, CaptureFilter> videoProcAmp{*this};
    PropertyFacet<IAMCameraControl, PropertySet::CameraControl, CaptureFilter> cameraControl{*this};
    std::wstring deviceName;
    std::atomic<long> cameraId = kNotLoaded;
    std::atomic<unsigned> frameNumber = 0;
    CapturePin preview;
    CapturePin capture;
    CapturePin still;
    const std::array<CapturePin*, 3> pins = {&preview, &capture, &still};
};

}  // namespace kit
