// Base of a filter that looks at samples, or changes them, on their way through.
#pragma once

#include "filter_base/input_pin.h"
#include "filter_base/output_pin.h"

namespace cam::filter_base {

// One input pin "In", one output pin "Out", the same media type on both. The two connections share one
// allocator whenever the receiver takes the sender's, so that samples pass without being copied; otherwise
// every sample is copied once.
//
// Threads: Transform runs on the *streaming* thread, under a lock that Stop and the end of a flush wait for.
class TransformInPlaceFilter : public Filter {
  public:
    // Whether a type will do on the input pin: S_OK, or a failure.
    virtual HRESULT CheckInputType(const AM_MEDIA_TYPE& type) = 0;
    // Sizes the buffers of an allocator that is not the sender's.
    virtual HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) = 0;
    // The types of the output pin.
    virtual HRESULT GetMediaType(int position, MediaType& type) = 0;
    // The type has been agreed upon for that pin. A failure undoes the connection.
    virtual HRESULT SetMediaType(PIN_DIRECTION direction, const AM_MEDIA_TYPE& type) = 0;
    // S_OK: deliver the sample. S_FALSE: drop it. A failure is handed to the sender.
    virtual HRESULT Transform(IMediaSample* sample) = 0;

    int PinCount() override { return 2; }
    Pin* PinAt(int index) override;

  protected:
    TransformInPlaceFilter(const wchar_t* name, IUnknown* outer, REFCLSID id) : Filter(name, outer, id) {}

    InputPin& Input() { return input; }
    OutputPin& Output() { return output; }

    void WaitUntilIdle() override { const LockGuard lock(receiveLock); }

  private:
    class InPin final : public InputPin {
      public:
        explicit InPin(TransformInPlaceFilter& filter) : InputPin(filter, L"Input", L"In"), owner(filter) {}

        HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT CompleteConnect(IPin* peer) override;

        // IPin
        HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
        HRESULT STDMETHODCALLTYPE EndOfStream() override;
        HRESULT STDMETHODCALLTYPE BeginFlush() override;
        HRESULT STDMETHODCALLTYPE EndFlush() override;
        HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

        // IMemInputPin
        HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** out) override;
        HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
        HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* requirements) override;
        HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

      private:
        TransformInPlaceFilter& owner;
    };

    class OutPin final : public OutputPin {
      public:
        explicit OutPin(TransformInPlaceFilter& filter)
            : OutputPin(filter, L"Output", L"Out"), owner(filter) {}

        // Samples of the input connection go out as they are.
        bool SharesAllocator() const { return Allocator() && Allocator() == owner.input.Allocator(); }
        // The sender has chosen another allocator.
        HRESULT FollowAllocator();
        HRESULT GetReceiverAllocator(IMemAllocator** out) { return Receiver()->GetAllocator(out); }
        HRESULT GetReceiverRequirements(ALLOCATOR_PROPERTIES* out) {
            return Receiver()->GetAllocatorRequirements(out);
        }

        HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT GetMediaType(int position, MediaType& type) override;
        HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
        HRESULT DecideAllocator() override;
        HRESULT CompleteConnect(IPin* peer) override;

        // IQualityControl
        HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* sender, Quality quality) override;

      private:
        HRESULT ShareAllocator();

        TransformInPlaceFilter& owner;
    };

    HRESULT Process(IMediaSample& sample) CAM_REQUIRES(receiveLock);
    HRESULT CopyToOutput(IMediaSample& sample, ComPtr<IMediaSample>& copy) CAM_REQUIRES(receiveLock);

    Lock receiveLock;
    InPin input{*this};
    OutPin output{*this};
};

}  // namespace cam::filter_base
