// The kit as a webcam of the desktop, for every program on it.
#pragma once

#include <ocidl.h>
#include <strmif.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "base/unique_resource.h"
#include "class_ids.h"
#include "filter_base/category_pin.h"
#include "filter_base/filter.h"
#include "kit.h"
#include "look.h"
#include "property_facet.h"

namespace kit {

class WebcamFilter;

using WebcamPinBase = cam::filter_base::Implements<cam::filter_base::CategoryPin, IAMStreamConfig>;

// The one pin, of the capture category. Frames at the format's rate with time stamps while the graph runs;
// the streaming thread lives from pause to stop and never takes the filter's lock.
class WebcamPin final : public WebcamPinBase {
  public:
    explicit WebcamPin(WebcamFilter& owner);
    ~WebcamPin() override;

    HRESULT OpenScene();
    void Hold() { ResetEvent(running.get()); }

    // Pin
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, cam::filter_base::MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT Active() override;
    void Inactive() override;
    HRESULT Run(REFERENCE_TIME start) override;
    // IAMStreamConfig
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** out) override;
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* count, int* size) override;
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) override;

  private:
    const WebcamFormat* Find(const AM_MEDIA_TYPE& type) const;
    HRESULT NewType(const WebcamFormat& wanted, AM_MEDIA_TYPE** out) const;
    void EndStreaming();
    void Stream();
    bool WaitForTurn(HANDLE event, DWORD timeoutMs);
    bool IsGone();
    HRESULT SendFrame();

    WebcamFilter& webcam;
    WebcamFormat format;
    bool isChosen = false;  // by SetFormat: the only type then
    std::unique_ptr<Scene> scene;
    Picture black;
    Look look;
    unsigned frameNumber = 0;  // counts on from start to start
    long framesSinceStart = 0;
    bool hasToldOfLoss = false;
    cam::UniqueHandle stopping;  // manual-reset
    cam::UniqueHandle running;   // manual-reset
    std::thread thread;
};

using WebcamFilterBase =
    cam::filter_base::Implements<cam::filter_base::Filter, IPersistPropertyBag, IAMFilterMiscFlags>;

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

    // Filter
    int PinCount() override { return 1; }
    cam::filter_base::Pin* PinAt(int) override { return &pin; }
    HRESULT NonDelegatingQueryInterface(REFIID iid, void** out) override;
    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* out) override { return Filter::GetClassID(out); }
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* out) override;
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE InitNew() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* errors) override;
    HRESULT STDMETHODCALLTYPE Save(IPropertyBag*, BOOL, BOOL) override { return E_NOTIMPL; }
    // IAMFilterMiscFlags
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

  private:
    const std::shared_ptr<const Scenario> scenario;
    std::mutex propertyLock;
    PropertyTable properties;
    PropertyFacet<IAMVideoProcAmp, PropertySet::VideoProcAmp, WebcamFilter> videoProcAmp{*this};
    PropertyFacet<IAMCameraControl, PropertySet::CameraControl, WebcamFilter> cameraControl{*this};
    WebcamPin pin{*this};
};

// The one that registration records.
std::vector<WebcamEntry> UsualWebcams();

// The webcams in the system's list of video input devices, in place of those that the kit had there.
HRESULT RecordWebcams(const std::vector<WebcamEntry>& webcams);

}  // namespace kit
