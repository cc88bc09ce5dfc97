// The filter that makes a picture of every still sample.
#pragma once

#include <atomic>

#include "base/frame.h"
#include "base/lock.h"
#include "base/unique_resource.h"
#include "filter_base/renderer.h"
#include "still/filter_interfaces.h"
#include "still/image_writer.h"

namespace cam::still {

// A bitmap that the sink gives up: DeleteObject, then CloseHandle on the same handle. On Windows CE a bitmap
// made from a sample's buffer is known to the kernel by a handle of its own besides being a GDI object, and
// both have to go. Where GDI objects are no kernel handles the second call fails and does nothing.
void DiscardBitmap(HBITMAP bitmap);
using UniquePictureBitmap = UniqueResource<HBITMAP, DiscardBitmap>;

// Converts each sample in its own buffer, stamps text on it, keeps a bitmap of it, shows it to a callback,
// stores it under the file name set beforehand, and reports that it is done.
//
// Threads: the setters are called on the *worker* or *caller* thread, before a still is triggered, and wait
// for nobody. What they set is taken over when the next picture starts, so a setter that comes while a
// picture is rendered on the *streaming* thread is meant for the next one.
class StillImageSinkFilter final
    : public filter_base::Implements<filter_base::RendererFilter, IStillImageSinkControl> {
  public:
    explicit StillImageSinkFilter(IUnknown* outer);

    // Filter
    const filter_base::FilterSetup* GetSetupData() const override;

    // RendererFilter
    HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT DoRenderSample(IMediaSample* sample) override;
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;

    // IStillImageSinkControl
    HRESULT STDMETHODCALLTYPE SetCallback(camFrameCallback newCallback) override;
    HRESULT STDMETHODCALLTYPE SetFileName(const wchar_t* name) override;
    HRESULT STDMETHODCALLTYPE SetQualityLevel(int level) override;
    HRESULT STDMETHODCALLTYPE SetText(UINT_PTR text, UINT_PTR length, UINT_PTR position, UINT_PTR colorWord,
                                      UINT_PTR font) override;
    HRESULT STDMETHODCALLTYPE GetBitmap(HBITMAP* handle) override;

  private:
    // What the setters leave for the next picture.
    struct Settings {
        StillPicture picture;
        bool hasFileName = false;  // a null name counts
        bool hasText = false;      // a text that was taken away counts
    };

    void TakeSettings();
    void MakePicture(const Frame& frame);

    UniqueHandle savedEvent;
    // Written when a type is agreed upon.
    PixelFormat pixels = PixelFormat::None;
    Frame format;  // without bytes
    DWORD sampleSize = 0;
    StillPicture picture;  // *streaming*: what was taken over last
    UniquePictureBitmap bitmap;
    std::atomic<camFrameCallback> callback = nullptr;
    Guarded<Settings> settings;
};

// A still image sink with a count of 0 (ComObject). Null when there is no memory, and then E_OUTOFMEMORY in
// `result`, which may be null and is not touched otherwise.
filter_base::ComObject* CreateStillImageSink(IUnknown* outer, HRESULT* result);

// What a registration may say of the sink.
extern const filter_base::FilterSetup kStillImageSinkSetup;

}  // namespace cam::still
