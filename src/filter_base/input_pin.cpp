#include "filter_base/input_pin.h"

namespace cam::filter_base {

HRESULT InputPin::Active() {
    typeRefused = 0;
    flushing = 0;
    return S_OK;
}

// Somebody upstream may wait for a free buffer: decommitting wakes it. The allocator's owner decommits it as
// well, which does no harm.
void InputPin::Inactive() {
    typeRefused = 0;
    flushing = 0;
    if (sampleAllocator) sampleAllocator->Decommit();
}

void InputPin::BreakConnect() {
    if (sampleAllocator) sampleAllocator->Decommit();
    sampleAllocator.reset();
    samplesReadOnly = false;
}

HRESULT STDMETHODCALLTYPE InputPin::ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) {
    if (!connector || !type) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (!ownerFilter.IsStopped()) return VFW_E_NOT_STOPPED;
    HRESULT result = CheckConnect(connector);
    if (SUCCEEDED(result)) {
        result = CheckMediaType(*type);
        // A plain no is reported as what it means here; reasons such as no memory are passed on.
        if (result == S_FALSE || result == E_FAIL || result == E_INVALIDARG) result = VFW_E_TYPE_NOT_ACCEPTED;
    }
    if (SUCCEEDED(result)) {
        SetPeer(connector);
        result = SetMediaType(*type);
    }
    if (SUCCEEDED(result)) result = CompleteConnect(connector);
    if (FAILED(result)) DropConnection();
    return result;
}

HRESULT STDMETHODCALLTYPE InputPin::BeginFlush() {
    flushing = 1;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE InputPin::EndFlush() {
    typeRefused = 0;
    flushing = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE InputPin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE InputPin::GetAllocator(IMemAllocator** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const LockGuard lock(ownerFilter.StateLock());
    if (!sampleAllocator) {
        const HRESULT result = CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER,
                                                __uuidof(IMemAllocator), sampleAllocator.putVoid());
        if (FAILED(result)) return result;
    }
    *out = ComPtr<IMemAllocator>(sampleAllocator).detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE InputPin::NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) {
    if (!allocator) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    sampleAllocator = ComPtr<IMemAllocator>(allocator);
    samplesReadOnly = readOnly != FALSE;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE InputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* requirements) {
    return requirements ? E_NOTIMPL : E_POINTER;  // none
}

HRESULT STDMETHODCALLTYPE InputPin::ReceiveMultiple(IMediaSample** samples, long count, long* processed) {
    if (!samples || !processed) return E_POINTER;
    HRESULT result = S_OK;
    *processed = 0;
    while (result == S_OK && *processed < count) {
        result = Receive(samples[*processed]);
        if (result == S_OK) ++*processed;
    }
    return result;
}

// What is done with a sample takes its time here; a source should not rely on anything else.
HRESULT STDMETHODCALLTYPE InputPin::ReceiveCanBlock() {
    return S_OK;
}

HRESULT InputPin::CheckStreaming() const {
    if (!IsConnected()) return VFW_E_NOT_CONNECTED;
    if (ownerFilter.IsStopped()) return VFW_E_WRONG_STATE;
    if (IsFlushing()) return S_FALSE;
    return typeRefused ? VFW_E_RUNTIME_ERROR : S_OK;
}

HRESULT InputPin::CheckSample(IMediaSample& sample) {
    const HRESULT result = CheckStreaming();
    if (result != S_OK) return result;
    AM_MEDIA_TYPE* offered = nullptr;
    if (sample.GetMediaType(&offered) != S_OK || !offered) return S_OK;  // no change
    const bool accepted = CheckMediaType(*offered) == S_OK && SUCCEEDED(SetMediaType(*offered));
    DeleteMediaType(offered);
    if (accepted) return S_OK;
    typeRefused = 1;
    ownerFilter.NotifyEvent(EC_ERRORABORT, VFW_E_TYPE_NOT_ACCEPTED, 0);
    return VFW_E_INVALIDMEDIATYPE;
}

}  // namespace cam::filter_base
