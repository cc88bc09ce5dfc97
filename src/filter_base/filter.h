// Base of a DirectShow filter.
#pragma once

#include <atomic>

#include "base/com_ptr.h"
#include "base/lock.h"
#include "base/thread_role.h"
#include "filter_base/com_object.h"

namespace cam::filter_base {

class Pin;

// What a registration may say of a filter.
struct FilterSetup {
    const wchar_t* name;
    DWORD merit;
    DWORD pinCount;
};

// State, graph, clock and pins of a filter. Its pins are members of the derived class and share its count.
//
// Threads: the graph's operations come in on the *caller* or *worker* thread and hold StateLock(). The
// *streaming* thread, a role that a thread has while it brings a sample or the end of the stream, never takes
// that lock: a filter that stops holds it while it waits for the streaming thread to leave.
class Filter : public Implements<ComObject, IBaseFilter> {
  public:
    // Both are read by the *streaming* thread as well.
    FILTER_STATE State() const { return filterState; }
    bool IsStopped() const { return State() == State_Stopped; }
    // Of the last Run: reference time that is stream time 0.
    REFERENCE_TIME StartTime() const { return startTime; }
    IReferenceClock* Clock() const { return graphClock.get(); }
    // Not owned: the graph outlives its filters. Null outside a graph.
    IFilterGraph* Graph() const { return filterGraph; }

    Lock& StateLock() CAM_RETURNS_LOCK(stateLock) {
        CheckThreadIsNot(kStreamingThread);
        return stateLock;
    }

    // Pins in their fixed order.
    virtual int PinCount() = 0;
    virtual Pin* PinAt(int index) = 0;
    // Grows when pins come or go; enumerators made before are out of step then.
    virtual LONG PinVersion() { return 0; }
    // Null: the filter says nothing about itself.
    virtual const FilterSetup* GetSetupData() const { return nullptr; }

    // Tells the graph's event sink. E_NOTIMPL outside a graph. The only call on the graph that the
    // *streaming* thread may make.
    HRESULT NotifyEvent(long code, LONG_PTR parameter1, LONG_PTR parameter2);

    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override;

    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* state) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* clock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override;

    // IBaseFilter
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** out) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** out) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* info) override;

  protected:
    // `name` may be null; the graph gives its own when the filter is added.
    Filter(const wchar_t* name, IUnknown* outer, REFCLSID id);

    // The streaming side of Stop, called with the state stopped already and the pins inactive: waits until no
    // sample is on its way through the filter. Holds StateLock().
    virtual void WaitUntilIdle() {}

  private:
    HRESULT ActivatePins() CAM_REQUIRES(stateLock);
    void DeactivatePins() CAM_REQUIRES(stateLock);

    const CLSID classId;
    Lock stateLock;
    wchar_t filterName[MAX_FILTER_NAME] CAM_GUARDED_BY(stateLock) = {};
    // Changed under the lock, and what stands below only while no sample is on its way: so all of it may be
    // read without the lock.
    std::atomic<FILTER_STATE> filterState = State_Stopped;
    REFERENCE_TIME startTime = 0;
    IFilterGraph* filterGraph = nullptr;
    IMediaEventSink* eventSink = nullptr;  // not owned, as the graph
    ComPtr<IReferenceClock> graphClock;
};

}  // namespace cam::filter_base
