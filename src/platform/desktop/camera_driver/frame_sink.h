// The filter at the end of a webcam's own graph.
#pragma once

#include <atomic>
#include <span>

#include "base/lock.h"
#include "filter_base/input_pin.h"
#include "platform/desktop/camera_driver/source_picture.h"

namespace cam::driver {

// Told of frames on the webcam's *streaming* thread.
class FrameReceiver {
  public:
    virtual void OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) = 0;
    // The sample is shorter than its format, or cannot be read.
    virtual void OnBrokenFrame() = 0;
    virtual void OnEnd() = 0;

  protected:
    ~FrameReceiver() = default;
};

// Takes every format that the driver understands. Outlives its receiver when a webcam hangs: then nobody
// receives any more.
class FrameSink final : public filter_base::Filter {
  public:
    FrameSink();

    // Null: nobody. When it returns, the receiver before is no longer in use.
    void SendTo(FrameReceiver* to) { *receiver.Locked() = to; }

    int PinCount() override { return 1; }
    filter_base::Pin* PinAt(int) override { return &input; }

  private:
    class InPin final : public filter_base::InputPin {
      public:
        explicit InPin(FrameSink& filter) : InputPin(filter, L"In"), owner(filter) {}

        HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT STDMETHODCALLTYPE EndOfStream() override;
        HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

      private:
        FrameSink& owner;
        SourceShape shape;
    };

    Guarded<FrameReceiver*> receiver;
    InPin input{*this};
};

}  // namespace cam::driver
