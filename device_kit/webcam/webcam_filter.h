// The kit as a webcam of the desktop, for every program on it.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "base/unique_resource.h"
#include "class_ids.h"
#include "filter_base/camera_filter.h"
#include "filter_base/category_pin.h"
#include "kit.h"
#include "look.h"
#include "property_facet.h"

namespace kit {

class WebcamFilter;

using WebcamPinBase = cam::filter_base::Implements<cam::filter_base::CategoryPin, IAMStreamConfig>;

// Capture: frames at the format's rate with time stamps while the graph runs. Still: one sample for every
// trigger. The streaming thread lives from pause to stop and never takes the filter's lock.
class WebcamPin final : public WebcamPinBase {
  public:
    enum class Role { Capture, Still };
    WebcamPin(WebcamFilter& owner, Role part);
    ~WebcamPin() override;

    HRESULT OpenScene();
    void Hold() { ResetEvent(running.get()); }
    // Still pin: one more sample, while the graph runs.
    HRESULT Trigger();
    const WebcamFormat& Current() const { return format; }

    // Pin
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, cam::filter_base::MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    void BreakConnect() override;
    HRESULT Active() override;
    void Inactive() override;
    HRESULT Run(REFERENCE_TIME start) override;
    // IAMStreamConfig
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** out) override;
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* count, int* size) override;
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) override;

  private:
    const std::vector<WebcamFormat>& Formats() const;
    const WebcamFormat* Find(const AM_MEDIA_TYPE& type) const;
    HRESULT NewType(const WebcamFormat& wanted, AM_MEDIA_TYPE** out) const;
    void EndStreaming();
    void Stream();
    void StreamFrames();
    void StreamStills();
    bool WaitForTurn(HANDLE event, DWORD timeoutMs);
    bool IsGone();
    HRESULT SendFrame();

    WebcamFilter& webcam;
    const Role role;
    WebcamFormat format;
    bool isChosen = false;  // by SetFormat: the only type then
    std::unique_ptr<Scene> scene;
    Picture black;
    Look look;
    long framesSinceStart = 0;
    bool hasToldOfLoss = false;
    cam::UniqueHandle stopping;  // manual-reset
    cam::UniqueHandle running;   // manual-reset
    cam::UniqueHandle triggers;  // semaphore: stills asked for and not yet taken
    std::thread thread;
};

using WebcamFilterBase = cam::filter_base::Implements<cam::filter_base::CameraFilter, IAMFilterMiscFlags>;

class WebcamFilter final : public WebcamFilterBase {
  public:
    explicit WebcamFilter(std::shared_ptr<const Scenario> played);

    const Scenario& Played() const { return *scenario; }
    long CameraId() const { return 0; }
    // Any thread.
    PropertyTable Properties() {
        const std::lock_guard guard(propertyLock);
        return properties;
    }
    template <typename Change>
    HRESULT WithProperties(Change&& change) {
        const std::lock_guard guard(propertyLock);
        return change(properties);
    }
    template <typename Work>
    HRESULT CameraCall(std::wstring_view call, std::wstring_view argument, Work&& work) {
        return DeviceCall(call, argument, std::forward<Work>(work));
    }

    // The number of the next frame; the capture pin counts on, from start to start. Streaming threads.
    unsigned FrameNumber() const { return frameNumber; }
    void NextFrame() { ++frameNumber; }

    // Filter
    int PinCount() override { return HasStillPin() ? 2 : 1; }
    cam::filter_base::Pin* PinAt(int index) override { return pins[static_cast<std::size_t>(index)]; }
    // CameraFilter
    IAMVideoProcAmp& VideoProcAmp() override { return videoProcAmp; }
    IAMCameraControl& CameraControl() override { return cameraControl; }
    cam::filter_base::Pin* TriggeredPin() override { return HasStillPin() ? &still : nullptr; }
    HRESULT TriggerStill() override { return still.Trigger(); }
    LONGLONG FrameTime() override { return 10000000 / capture.Current().framesPerSecond; }
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* errors) override;
    // IAMVideoControl
    HRESULT STDMETHODCALLTYPE SetMode(IPin* pin, LONG mode) override;
    // IAMFilterMiscFlags
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

  private:
    bool HasStillPin() const { return !scenario->webcamStillFormats.empty(); }

    const std::shared_ptr<const Scenario> scenario;
    std::atomic<unsigned> frameNumber = 0;
    std::mutex propertyLock;
    PropertyTable properties;
    PropertyFacet<IAMVideoProcAmp, PropertySet::VideoProcAmp, WebcamFilter> videoProcAmp{*this};
    PropertyFacet<IAMCameraControl, PropertySet::CameraControl, WebcamFilter> cameraControl{*this};
    WebcamPin capture{*this, WebcamPin::Role::Capture};
    WebcamPin still{*this, WebcamPin::Role::Still};  // without formats it is not shown
    const std::array<WebcamPin*, 2> pins = {&capture, &still};
};

// The one that registration records.
std::vector<WebcamEntry> UsualWebcams();

// The webcams in the system's list of video input devices, in place of those that the kit had there.
HRESULT RecordWebcams(const std::vector<WebcamEntry>& webcams);

}  // namespace kit
