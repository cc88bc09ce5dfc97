// Base of a pin that takes samples.
#pragma once

#include <atomic>

#include "filter_base/pin.h"

namespace cam::filter_base {

// Agrees on a connection when asked, and takes samples on the *streaming* thread. A derived class overrides
// Receive and calls CheckStreaming first.
class InputPin : public Implements<Pin, IMemInputPin> {
  public:
    // The allocator agreed upon; null before.
    IMemAllocator* Allocator() const { return sampleAllocator.get(); }
    // The samples' contents belong to somebody upstream and must stay as they are.
    bool IsReadOnly() const { return samplesReadOnly; }
    bool IsFlushing() const { return flushing != 0; }

    HRESULT Active() override;
    void Inactive() override;
    void BreakConnect() override;

    // IPin
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override = 0;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

    // IMemInputPin
    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** out) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* requirements) override;
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override = 0;
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** samples, long count, long* processed) override;
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override;

  protected:
    InputPin(Filter& filter, const wchar_t* name, const wchar_t* id = nullptr)
        : Implements(filter, PINDIR_INPUT, name, id ? id : name) {}

    // Whether samples are welcome: S_OK; S_FALSE while flushing; else why not (not connected, stopped, a type
    // was refused).
    HRESULT CheckStreaming() const;
    // The same, and takes over a type that the sample brings along. A type that is refused ends the stream.
    HRESULT CheckSample(IMediaSample& sample);

  private:
    ComPtr<IMemAllocator> sampleAllocator;
    bool samplesReadOnly = false;
    std::atomic<LONG> flushing = 0;
    std::atomic<LONG> typeRefused = 0;
};

}  // namespace cam::filter_base
