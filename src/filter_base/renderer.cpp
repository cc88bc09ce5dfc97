#include "filter_base/renderer.h"

#include "base/insist.h"

namespace cam::filter_base {

RendererFilter::RendererFilter(const wchar_t* name, IUnknown* outer, REFCLSID id)
    : Implements(name, outer, id),
      cancelled(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      running(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      due(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

HRESULT STDMETHODCALLTYPE RendererFilter::Pause() {
    const LockGuard lock(StateLock());
    const HRESULT result = Implements::Pause();
    if (SUCCEEDED(result)) ResetEvent(running.get());
    return result;
}

HRESULT STDMETHODCALLTYPE RendererFilter::Run(REFERENCE_TIME start) {
    const LockGuard lock(StateLock());
    const bool ranBefore = State() == State_Running;
    const HRESULT result = Implements::Run(start);
    if (FAILED(result)) return result;
    // To a renderer that nobody sends to, nothing is left to come.
    if (!input.IsConnected() && !ranBefore) {
        NotifyEvent(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
    }
    ++runs;
    Signal(running.get());
    CompleteIfEnded();
    return result;
}

// The end of the stream is reported once, and only while running. It may be noticed by the *streaming* thread
// or by Run.
void RendererFilter::CompleteIfEnded() {
    if (State() != State_Running || !ended || completed.exchange(1)) return;
    NotifyEvent(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
}

// A system that is short of something may refuse to wait: it is asked again.
bool RendererFilter::WaitFor(HANDLE event) {
    HANDLE events[] = {cancelled.get(), event};
    DWORD waited;
    while ((waited = WaitForMultipleObjects(2, events, FALSE, INFINITE)) == WAIT_FAILED) Sleep(1);
    return waited != WAIT_OBJECT_0;
}

bool RendererFilter::WaitUntilDue(IMediaSample& sample) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (FAILED(sample.GetTime(&start, &stop))) return true;
    LONG run = 0;
    do {
        if (!WaitFor(running.get())) return false;
        run = runs;
        IReferenceClock* clock = Clock();
        DWORD_PTR cookie = 0;
        if (!clock ||
            FAILED(clock->AdviseTime(StartTime(), start, reinterpret_cast<HEVENT>(due.get()), &cookie))) {
            return true;
        }
        if (!WaitFor(due.get())) {
            clock->Unadvise(cookie);
            ResetEvent(due.get());
            return false;
        }
    } while (State() != State_Running || run != runs);  // paused meanwhile: due anew after the next Run
    return true;
}

HRESULT RendererFilter::InPin::SetMediaType(const AM_MEDIA_TYPE& type) {
    const HRESULT result = owner.SetMediaType(type);
    return SUCCEEDED(result) ? InputPin::SetMediaType(type) : result;
}

HRESULT RendererFilter::InPin::Active() {
    ResetEvent(owner.cancelled.get());
    owner.ended = 0;
    owner.completed = 0;
    // Stopping decommits it, also that of a sender who does not commit it anew.
    if (IMemAllocator* const allocator = Allocator()) allocator->Commit();
    return InputPin::Active();
}

void RendererFilter::InPin::Inactive() {
    Signal(owner.cancelled.get());
    ResetEvent(owner.running.get());
    InputPin::Inactive();
}

HRESULT STDMETHODCALLTYPE RendererFilter::InPin::EndOfStream() {
    const ThreadRoleScope role(kStreamingThread);
    const LockGuard lock(owner.receiveLock);
    const HRESULT result = CheckStreaming();
    if (result != S_OK) return result;
    owner.ended = 1;
    owner.CompleteIfEnded();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE RendererFilter::InPin::BeginFlush() {
    const HRESULT result = InputPin::BeginFlush();
    Signal(owner.cancelled.get());
    return result;
}

HRESULT STDMETHODCALLTYPE RendererFilter::InPin::EndFlush() {
    const LockGuard lock(owner.receiveLock);
    if (!owner.IsStopped()) ResetEvent(owner.cancelled.get());
    owner.ended = 0;
    owner.completed = 0;
    return InputPin::EndFlush();
}

HRESULT STDMETHODCALLTYPE RendererFilter::InPin::Receive(IMediaSample* sample) {
    if (!sample) return E_POINTER;
    const ThreadRoleScope role(kStreamingThread);
    const LockGuard lock(owner.receiveLock);
    // The platform's renderer does not say why, and a sample that is given up while it waits has been taken.
    if (CheckSample(*sample) != S_OK) return E_FAIL;
    if (!owner.WaitUntilDue(*sample)) return S_OK;
    // A picture that could not be rendered must not end the stream: a failure here would make the sender
    // stop.
    owner.DoRenderSample(sample);
    return S_OK;
}

}  // namespace cam::filter_base
