#include "filter_base/filter.h"

#include <cwchar>

#include "filter_base/copy_name.h"
#include "filter_base/enumerator.h"
#include "filter_base/pin.h"

namespace cam::filter_base {

namespace {
// What a filter's enumerator goes through.
struct PinsOfFilter {
    using Owner = Filter;
    using OwnerInterface = IBaseFilter;
    using Interface = IEnumPins;
    using Item = IPin*;

    static LONG Version(Filter& filter) { return filter.PinVersion(); }
    static bool Has(Filter& filter, int position) { return position < filter.PinCount(); }
    static Item Get(Filter& filter, int position) {
        return Has(filter, position) ? ComPtr<IPin>(filter.PinAt(position)).detach() : nullptr;
    }
};
}  // namespace

Filter::Filter(const wchar_t* name, IUnknown* outer, REFCLSID id) : Implements(outer), classId(id) {
    CopyName(name, filterName);
}

HRESULT Filter::NotifyEvent(long code, LONG_PTR parameter1, LONG_PTR parameter2) {
    return eventSink ? eventSink->Notify(code, parameter1, parameter2) : E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE Filter::GetClassID(CLSID* id) {
    if (!id) return E_POINTER;
    *id = classId;
    return S_OK;
}

HRESULT Filter::ActivatePins() {
    for (int i = 0; i < PinCount(); ++i) {
        Pin* pin = PinAt(i);
        if (!pin->IsConnected()) continue;
        const HRESULT result = pin->Active();
        if (FAILED(result)) return result;
    }
    return S_OK;
}

void Filter::DeactivatePins() {
    for (int i = 0; i < PinCount(); ++i) {
        Pin* pin = PinAt(i);
        if (pin->IsConnected()) pin->Inactive();
    }
}

HRESULT STDMETHODCALLTYPE Filter::Stop() {
    const LockGuard lock(StateLock());
    if (IsStopped()) return S_OK;
    filterState = State_Stopped;
    DeactivatePins();
    WaitUntilIdle();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::Pause() {
    const LockGuard lock(StateLock());
    if (IsStopped()) {
        const HRESULT result = ActivatePins();
        if (FAILED(result)) {
            DeactivatePins();
            return result;
        }
    }
    filterState = State_Paused;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::Run(REFERENCE_TIME start) {
    const LockGuard lock(StateLock());
    if (State() == State_Running) return S_OK;
    startTime = start;
    if (IsStopped()) {
        const HRESULT result = Pause();
        if (FAILED(result)) return result;
    }
    for (int i = 0; i < PinCount(); ++i) {
        Pin* pin = PinAt(i);
        if (!pin->IsConnected()) continue;
        const HRESULT result = pin->Run(start);
        if (FAILED(result)) return result;
    }
    filterState = State_Running;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::GetState(DWORD, FILTER_STATE* state) {
    if (!state) return E_POINTER;
    *state = State();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::SetSyncSource(IReferenceClock* clock) {
    const LockGuard lock(StateLock());
    graphClock = ComPtr<IReferenceClock>(clock);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::GetSyncSource(IReferenceClock** clock) {
    if (!clock) return E_POINTER;
    const LockGuard lock(StateLock());
    *clock = ComPtr<IReferenceClock>(graphClock).detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::EnumPins(IEnumPins** out) {
    if (!out) return E_POINTER;
    *out = Enumerator<PinsOfFilter>::Create(*this, 0);
    return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE Filter::FindPin(LPCWSTR id, IPin** out) {
    if (!id || !out) return E_POINTER;
    const LockGuard lock(StateLock());
    for (int i = 0; i < PinCount(); ++i) {
        if (std::wcscmp(PinAt(i)->Id(), id) != 0) continue;
        *out = PinAt(i);
        (*out)->AddRef();
        return S_OK;
    }
    *out = nullptr;
    return VFW_E_NOT_FOUND;
}

HRESULT STDMETHODCALLTYPE Filter::QueryFilterInfo(FILTER_INFO* info) {
    if (!info) return E_POINTER;
    const LockGuard lock(StateLock());
    CopyName(filterName, info->achName);
    info->pGraph = filterGraph;
    if (filterGraph) filterGraph->AddRef();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    const LockGuard lock(StateLock());
    filterGraph = graph;
    eventSink = nullptr;
    if (!graph) return S_OK;
    // A reference kept here would keep the graph alive, which keeps the filter alive.
    if (SUCCEEDED(graph->QueryInterface(__uuidof(IMediaEventSink), reinterpret_cast<void**>(&eventSink)))) {
        eventSink->Release();
    } else {
        eventSink = nullptr;
    }
    if (name) CopyName(name, filterName);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Filter::QueryVendorInfo(LPWSTR* info) {
    if (!info) return E_POINTER;
    *info = nullptr;
    return E_NOTIMPL;
}

}  // namespace cam::filter_base
