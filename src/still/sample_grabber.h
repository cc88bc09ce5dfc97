// The filter through which preview frames reach the application.
#pragma once

#include <atomic>

#include "base/frame.h"
#include "base/lock.h"
#include "filter_base/transform_in_place.h"
#include "still/filter_interfaces.h"

namespace cam::still {

// Hands every frame that passes to one callback, in the sample's own buffer, and sends it on unchanged. Takes
// RGB555 only.
//
// Threads: the callback may be set at any time from any thread and runs on the *streaming* thread.
class SampleGrabberFilter final
    : public filter_base::Implements<filter_base::TransformInPlaceFilter, ISampleGrabberControl> {
  public:
    explicit SampleGrabberFilter(IUnknown* outer);

    // TransformInPlaceFilter
    HRESULT CheckInputType(const AM_MEDIA_TYPE& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT GetMediaType(int position, filter_base::MediaType& type) override;
    HRESULT SetMediaType(PIN_DIRECTION direction, const AM_MEDIA_TYPE& type) override;
    HRESULT Transform(IMediaSample* sample) override;

    // ISampleGrabberControl
    HRESULT STDMETHODCALLTYPE SetCallback(camFrameCallback newCallback) override;
    HRESULT STDMETHODCALLTYPE GetGeometry(FrameGeometry* geometry) override;
    HRESULT STDMETHODCALLTYPE GetInputMediaType(AM_MEDIA_TYPE* type) override;

  private:
    // Of the type accepted last.
    struct Format {
        filter_base::MediaType type;
        Frame frame;  // without bytes
        DWORD sampleSize = 0;
    };

    std::atomic<camFrameCallback> callback = nullptr;  // read once for every frame
    Guarded<Format> format;                            // changed by the *streaming* thread while frames flow
};

// A sample grabber with a count of 0 (ComObject). Null when there is no memory, and then E_OUTOFMEMORY in
// `result`, which may be null and is not touched otherwise.
filter_base::ComObject* CreateSampleGrabber(IUnknown* outer, HRESULT* result);

}  // namespace cam::still
