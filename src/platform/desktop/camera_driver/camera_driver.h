// The desktop's camera driver: a webcam as a capture filter of the platform's kind.
#pragma once

#include <ocidl.h>

#include <atomic>
#include <memory>

#include "base/unique_resource.h"
#include "platform/desktop/camera_driver/driver_pins.h"
#include "platform/desktop/camera_driver/jpeg_frame.h"
#include "platform/desktop/camera_driver/property_facet.h"
#include "platform/desktop/camera_driver/webcam_graph.h"

namespace cam::driver {

using CameraDriverBase = filter_base::Implements<filter_base::Filter, IPersistPropertyBag, IAMVideoControl>;

// The webcam runs from pause to stop, in the still size that is chosen. Every frame goes to preview, shrunk
// to preview's own size; the next one after a trigger goes to the still pin as well, which has a thread of
// its own so that storing a picture does not hold up preview.
//
// Threads: the webcam's *streaming* thread brings frames. The driver's own thread sends stills and watches
// the webcam: one that sends nothing for a while, or tells of its end, is lost. It is opened anew at the next
// start. Neither takes the filter's lock.
class CameraDriver final : public CameraDriverBase, private FrameReceiver {
  public:
    CameraDriver();
    ~CameraDriver() override;

    bool IsLoaded() const { return !identity.empty(); }
    const std::vector<PictureSize>& Sizes() const { return sizes; }
    // Null: the webcam does not have that size.
    const SourceFormat* FormatOf(PictureSize size) const { return BestFormat(formats, size); }
    PictureSize PreviewFrame() const { return previewSize; }
    PictureSize StillFrame() const { return stillSize; }
    // Of the size in which the webcam runs.
    LONGLONG FrameTime() const;
    // While stopped. False: there is no such size.
    bool ChooseStill(PictureSize size);
    // The webcam's own controls. Any thread.
    ComPtr<IBaseFilter> Source() { return webcam.Source(); }
    long Number() const { return number; }

    // Filter
    int PinCount() override { return 3; }
    filter_base::Pin* PinAt(int index) override;
    HRESULT NonDelegatingQueryInterface(REFIID id, void** out) override;
    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* out) override { return Filter::GetClassID(out); }
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* state) override;
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE InitNew() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* errors) override;
    HRESULT STDMETHODCALLTYPE Save(IPropertyBag*, BOOL, BOOL) override { return E_NOTIMPL; }
    // IAMVideoControl
    HRESULT STDMETHODCALLTYPE GetCaps(IPin* pin, LONG* flags) override;
    HRESULT STDMETHODCALLTYPE SetMode(IPin* pin, LONG mode) override;
    HRESULT STDMETHODCALLTYPE GetMode(IPin* pin, LONG* mode) override;
    HRESULT STDMETHODCALLTYPE GetCurrentActualFrameRate(IPin* pin, LONGLONG* frameTime) override;
    HRESULT STDMETHODCALLTYPE GetMaxAvailableFrameRate(IPin* pin, LONG index, SIZE size,
                                                       LONGLONG* frameTime) override;
    HRESULT STDMETHODCALLTYPE GetFrameRateList(IPin* pin, LONG index, SIZE size, LONG* count,
                                               LONGLONG** frameTimes) override;

  private:
    HRESULT OpenWebcam();
    HRESULT StartWebcam();
    void EndThread();

    // streaming.cpp
    static DWORD WINAPI Thread(void* driver);
    void Watch();
    DWORD TimeLeft() const;
    void Lose();
    void SendPreview(const SourcePicture& picture);
    void KeepStill(const SourcePicture& picture);
    void SendStill();
    void OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) override;
    void OnBrokenFrame() override;
    void OnEnd() override;

    // The picture that waits for the driver's thread.
    struct PendingStill {
        std::vector<std::uint8_t> bytes;
        bool waits = false;
    };

    std::wstring identity;
    long number = 0;
    WebcamGraph webcam;
    std::vector<SourceFormat> formats;  // stay when the webcam is lost
    std::vector<PictureSize> sizes;
    PictureSize previewSize = {}, stillSize = {};

    UniqueHandle stopping;    // manual-reset
    UniqueHandle ended;       // auto-reset: the webcam's stream came to its end
    UniqueHandle stillReady;  // auto-reset
    UniqueHandle thread;
    std::atomic<bool> running = false;
    std::atomic<bool> lost = false;
    std::atomic<LONG> triggers = 0;    // stills asked for and not taken yet
    std::atomic<DWORD> lastFrame = 0;  // tick, of the start before the first one
    std::atomic<bool> hasFrames = false;
    Guarded<PendingStill> pendingStill;
    // *Streaming* only.
    JpegFrame jpeg;
    std::unique_ptr<PreviewScaler> scaler;

    PropertyFacet<IAMVideoProcAmp> videoProcAmp{*this};
    PropertyFacet<IAMCameraControl> cameraControl{*this};
    PreviewPin preview{*this, PreviewPin::Role::Preview};
    PreviewPin capture{*this, PreviewPin::Role::Capture};
    StillPin still{*this};
};

}  // namespace cam::driver
