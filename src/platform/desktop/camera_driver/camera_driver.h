// The desktop's camera driver: a webcam as a capture filter of the platform's kind.
#pragma once

#include <atomic>
#include <memory>

#include "base/unique_resource.h"
#include "filter_base/camera_filter.h"
#include "platform/desktop/camera_driver/driver_pins.h"
#include "platform/desktop/camera_driver/jpeg_frame.h"
#include "platform/desktop/camera_driver/property_facet.h"
#include "platform/desktop/camera_driver/webcam_graph.h"

namespace cam::driver {

// The webcam runs from pause to stop. Every frame goes to preview, shrunk to preview's own size. A webcam
// with a still pin runs in preview's size, and a trigger is handed on to that pin, for every size that the
// pin has. Of other sizes a still is the next frame after the trigger, and the webcam runs in that size. The
// driver's still pin has a thread of its own, so that storing a picture does not hold up preview.
//
// Threads: the webcam's *streaming* threads bring frames, and stills of its own pin. The driver's own thread
// sends stills and watches the webcam: one that sends nothing for a while, or tells of its end, is lost. It
// is opened anew at the next start. None of them takes the filter's lock.
class CameraDriver final : public filter_base::CameraFilter, private FrameReceiver {
  public:
    CameraDriver();
    ~CameraDriver() override;

    bool IsLoaded() const { return !identity.empty(); }
    // Those of stills.
    const std::vector<PictureSize>& Sizes() const { return sizes; }
    // Of stills; null: the webcam does not have that size.
    const SourceFormat* FormatOf(PictureSize size) const;
    PictureSize PreviewFrame() const { return previewSize; }
    PictureSize StillFrame() const { return stillSize; }
    // While stopped. False: there is no such size.
    bool ChooseStill(PictureSize size);
    // The webcam's own controls. Any thread.
    ComPtr<IBaseFilter> Source() { return webcam.Source(); }
    long Number() const { return number; }

    // Filter
    int PinCount() override { return 3; }
    filter_base::Pin* PinAt(int index) override;
    // CameraFilter
    IAMVideoProcAmp& VideoProcAmp() override { return videoProcAmp; }
    IAMCameraControl& CameraControl() override { return cameraControl; }
    filter_base::Pin* TriggeredPin() override { return &still; }
    HRESULT TriggerStill() override;
    // In which the webcam runs.
    LONGLONG FrameTime() override;
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* errors) override;

  private:
    // What the webcam's own still pin sends.
    class StillReceiver final : public FrameReceiver {
      public:
        explicit StillReceiver(CameraDriver& owner) : driver(owner) {}
        void OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) override;
        void OnBrokenFrame() override { driver.DropTrigger(); }
        void OnEnd() override {}

      private:
        CameraDriver& driver;
        JpegFrame jpeg;
    };

    const SourceFormat* VideoFormat() const;
    const SourceFormat* OwnStillFormat() const { return BestFormat(stillFormats, stillSize); }
    HRESULT OpenWebcam();
    HRESULT StartWebcam();
    void EndThread();

    // streaming.cpp
    static DWORD WINAPI Thread(void* driver);
    void Watch();
    DWORD TimeLeft() const;
    void Lose();
    void SendPreview(const SourcePicture& picture);
    bool KeepStill(const SourcePicture& picture);
    void DropTrigger();
    void SendStill();
    void OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) override;
    void OnBrokenFrame() override;
    void OnEnd() override;

    using Pictures = std::vector<std::vector<std::uint8_t>>;

    std::wstring identity;
    long number = 0;
    WebcamGraph webcam;
    // Stay when the webcam is lost.
    std::vector<SourceFormat> formats, stillFormats;
    std::vector<PictureSize> sizes;
    PictureSize previewSize = {}, stillSize = {};

    UniqueHandle stopping;    // manual-reset
    UniqueHandle ended;       // auto-reset: the webcam's stream came to its end
    UniqueHandle stillReady;  // auto-reset
    UniqueHandle thread;
    std::atomic<bool> running = false;
    std::atomic<bool> lost = false;
    std::atomic<LONG> triggers = 0;    // stills asked for and not taken yet
    bool hasOwnStills = false;         // the webcam's own pin sends them; set before it starts
    std::atomic<DWORD> lastFrame = 0;  // tick, of the start before the first one
    std::atomic<bool> hasFrames = false;
    Guarded<Pictures> pendingStills;  // for the driver's thread
    // *Streaming* only.
    JpegFrame jpeg;
    std::unique_ptr<PreviewScaler> scaler;
    StillReceiver stillReceiver{*this};

    PropertyFacet<IAMVideoProcAmp> videoProcAmp{*this};
    PropertyFacet<IAMCameraControl> cameraControl{*this};
    PreviewPin preview{*this, PreviewPin::Role::Preview};
    PreviewPin capture{*this, PreviewPin::Role::Capture};
    StillPin still{*this};
};

}  // namespace cam::driver
