// Base of a filter at the end of a stream.
#pragma once

#include <atomic>

#include "base/unique_resource.h"
#include "filter_base/input_pin.h"

namespace cam::filter_base {

// One input pin "In". A sample without a time stamp is rendered at once, paused or running; one with a stamp
// when it is due by the graph's clock while the filter runs. Samples are never dropped for being late. The
// filter never holds up the graph: it needs no sample to be paused, so GetState, Pause and Run always answer
// S_OK.
//
// Threads: DoRenderSample runs on the *streaming* thread, under a lock that Stop and the end of a flush wait
// for.
class RendererFilter : public Implements<Filter, IAMFilterMiscFlags> {
  public:
    // Whether a type will do: S_OK, or a failure.
    virtual HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) = 0;
    // The type has been agreed upon. A failure undoes the connection.
    virtual HRESULT SetMediaType(const AM_MEDIA_TYPE& type) = 0;
    // Once for every sample that is due. What it returns is the renderer's own affair: the stream goes on.
    virtual HRESULT DoRenderSample(IMediaSample* sample) = 0;

    int PinCount() override { return 1; }
    Pin* PinAt(int) override { return &input; }

    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;

    // IAMFilterMiscFlags
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_RENDERER; }

    // False: the system had no events to spare. Nothing would end a wait then: the filter is not to be used.
    bool CanWait() const { return cancelled && running && due; }

  protected:
    RendererFilter(const wchar_t* name, IUnknown* outer, REFCLSID id);

    void WaitUntilIdle() override { const LockGuard lock(receiveLock); }

  private:
    class InPin final : public InputPin {
      public:
        explicit InPin(RendererFilter& filter) : InputPin(filter, L"In"), owner(filter) {}

        HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override { return owner.CheckMediaType(type); }
        HRESULT SetMediaType(const AM_MEDIA_TYPE& type) override;
        HRESULT Active() override;
        void Inactive() override;

        // IPin
        HRESULT STDMETHODCALLTYPE EndOfStream() override;
        HRESULT STDMETHODCALLTYPE BeginFlush() override;
        HRESULT STDMETHODCALLTYPE EndFlush() override;

        // IMemInputPin
        HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

      private:
        RendererFilter& owner;
    };

    // False: the filter was stopped or flushed meanwhile.
    bool WaitUntilDue(IMediaSample& sample) CAM_REQUIRES(receiveLock);
    bool WaitFor(HANDLE event);
    void CompleteIfEnded();

    UniqueHandle cancelled;      // manual-reset: nobody may wait any longer
    UniqueHandle running;        // manual-reset: publishes the start time
    UniqueHandle due;            // auto-reset, set by the clock
    std::atomic<LONG> runs = 0;  // tells one Run from the next
    std::atomic<LONG> ended = 0;
    std::atomic<LONG> completed = 0;
    Lock receiveLock;
    InPin input{*this};
};

}  // namespace cam::filter_base
