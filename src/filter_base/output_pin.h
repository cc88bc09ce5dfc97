// Base of a pin that delivers samples.
#pragma once

#include "filter_base/pin.h"

namespace cam::filter_base {

// Negotiates a connection and hands samples and notices on. Of the media types that CheckMediaType accepts,
// the receiver's wishes come first, then the pin's own.
class OutputPin : public Pin {
  public:
    // The allocator agreed upon; null before.
    IMemAllocator* Allocator() const { return sampleAllocator.get(); }

    // Sizes the connection's buffers: fills in `request`, which holds the receiver's wishes, and gives it to
    // SetProperties.
    virtual HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) = 0;
    // Chooses the connection's allocator and tells the receiver: its own, else one of the system's.
    virtual HRESULT DecideAllocator();

    // *Streaming*. VFW_E_NOT_CONNECTED without a receiver. A buffer is waited for until one is free or the
    // allocator is decommitted (VFW_E_NOT_COMMITTED).
    HRESULT GetDeliveryBuffer(IMediaSample** out);
    HRESULT Deliver(IMediaSample* sample);
    HRESULT DeliverEndOfStream();
    HRESULT DeliverBeginFlush();
    HRESULT DeliverEndFlush();
    HRESULT DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);

    HRESULT CheckConnect(IPin* peer) override;
    HRESULT CompleteConnect(IPin* peer) override;
    void BreakConnect() override;
    HRESULT Active() override;
    void Inactive() override;

    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* proposal) override;

  protected:
    OutputPin(Filter& filter, const wchar_t* name, const wchar_t* id = nullptr)
        : Pin(filter, PINDIR_OUTPUT, name, id ? id : name) {}

    IMemInputPin* Receiver() const { return receiverInput.get(); }
    void SetAllocator(IMemAllocator* allocator) {
        sampleAllocator = ComPtr<IMemAllocator>(allocator);
        isSizeSet = true;
    }
    // Tries one allocator: sizes it and tells the receiver; kept on success.
    HRESULT TryAllocator(IMemAllocator* allocator, const ALLOCATOR_PROPERTIES& wishes);

  private:
    HRESULT AttemptConnection(IPin* receiver, const AM_MEDIA_TYPE& type);
    HRESULT TryTypesOf(IPin* lister, IPin* receiver, const AM_MEDIA_TYPE* proposal);

    ComPtr<IMemInputPin> receiverInput;
    ComPtr<IMemAllocator> sampleAllocator;
    bool isSizeSet = true;  // of the buffers, as far as this pin decided it
};

}  // namespace cam::filter_base
