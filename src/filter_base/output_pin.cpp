#include "filter_base/output_pin.h"

#include <utility>

namespace cam::filter_base {

namespace {
// Between two looks for a free buffer.
constexpr DWORD kBusyBuffersSleepMs = 1;

// Of a pin that lists types without an end, the first so many.
constexpr int kMaxTypes = 1000;
}  // namespace

HRESULT OutputPin::CheckConnect(IPin* peer) {
    const HRESULT result = Pin::CheckConnect(peer);
    if (FAILED(result)) return result;
    return peer->QueryInterface(__uuidof(IMemInputPin), receiverInput.putVoid());
}

HRESULT OutputPin::CompleteConnect(IPin*) {
    return DecideAllocator();
}

void OutputPin::BreakConnect() {
    if (sampleAllocator) sampleAllocator->Decommit();
    sampleAllocator.reset();
    receiverInput.reset();
}

// Buffers of nothing are refused here: there are systems whose allocator ends the process when it is to make
// them.
HRESULT OutputPin::Active() {
    if (!sampleAllocator) return VFW_E_NO_ALLOCATOR;
    return isSizeSet ? sampleAllocator->Commit() : VFW_E_SIZENOTSET;
}

void OutputPin::Inactive() {
    if (sampleAllocator) sampleAllocator->Decommit();
}

HRESULT STDMETHODCALLTYPE OutputPin::Connect(IPin* receiver, const AM_MEDIA_TYPE* proposal) {
    if (!receiver) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (!ownerFilter.IsStopped()) return VFW_E_NOT_STOPPED;
    if (proposal && IsComplete(*proposal)) return AttemptConnection(receiver, *proposal);
    const HRESULT theirs = TryTypesOf(receiver, receiver, proposal);
    if (SUCCEEDED(theirs)) return theirs;
    const HRESULT ours = TryTypesOf(this, receiver, proposal);
    return ours == VFW_E_NO_ACCEPTABLE_TYPES ? theirs : ours;
}

HRESULT OutputPin::TryTypesOf(IPin* lister, IPin* receiver, const AM_MEDIA_TYPE* proposal) {
    ComPtr<IEnumMediaTypes> types;
    HRESULT failure = VFW_E_NO_ACCEPTABLE_TYPES;
    if (FAILED(lister->EnumMediaTypes(types.put())) || !types || FAILED(types->Reset())) return failure;
    AM_MEDIA_TYPE* type = nullptr;
    for (int left = kMaxTypes; left > 0 && types->Next(1, &type, nullptr) == S_OK && type; --left) {
        HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
        if (!proposal || MatchesProposal(*type, *proposal)) result = AttemptConnection(receiver, *type);
        DeleteMediaType(std::exchange(type, nullptr));
        if (SUCCEEDED(result)) return result;
        // What says more than "not this type" is worth reporting when no other type does.
        if (result != E_FAIL && result != E_INVALIDARG && result != VFW_E_TYPE_NOT_ACCEPTED) failure = result;
    }
    return failure;
}

HRESULT OutputPin::AttemptConnection(IPin* receiver, const AM_MEDIA_TYPE& type) {
    HRESULT result = CheckConnect(receiver);
    if (FAILED(result)) {
        DropConnection();
        return result;
    }
    result = CheckMediaType(type);
    if (result == S_FALSE || result == E_FAIL || result == E_INVALIDARG) result = VFW_E_TYPE_NOT_ACCEPTED;
    if (SUCCEEDED(result)) {
        SetPeer(receiver);
        result = SetMediaType(type);
    }
    bool received = false;
    if (SUCCEEDED(result)) {
        result = receiver->ReceiveConnection(this, &type);
        received = SUCCEEDED(result);
    }
    if (SUCCEEDED(result)) result = CompleteConnect(receiver);
    if (FAILED(result)) {
        if (received) receiver->Disconnect();
        DropConnection();
    }
    return result;
}

HRESULT OutputPin::TryAllocator(IMemAllocator* allocator, const ALLOCATOR_PROPERTIES& wishes) {
    ALLOCATOR_PROPERTIES request = wishes;
    HRESULT result = DecideBufferSize(allocator, &request);
    if (SUCCEEDED(result)) result = receiverInput->NotifyAllocator(allocator, FALSE);
    if (FAILED(result)) return result;
    SetAllocator(allocator);
    ALLOCATOR_PROPERTIES agreed = {};
    if (SUCCEEDED(allocator->GetProperties(&agreed))) isSizeSet = agreed.cBuffers > 0 && agreed.cbBuffer > 0;
    return result;
}

HRESULT OutputPin::DecideAllocator() {
    ALLOCATOR_PROPERTIES wishes = {};
    if (FAILED(receiverInput->GetAllocatorRequirements(&wishes))) wishes = {};
    if (wishes.cbAlign == 0) wishes.cbAlign = 1;
    ComPtr<IMemAllocator> allocator;
    HRESULT result = receiverInput->GetAllocator(allocator.put());
    if (SUCCEEDED(result)) result = TryAllocator(allocator.get(), wishes);
    if (SUCCEEDED(result)) return result;
    result = CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IMemAllocator),
                              allocator.putVoid());
    return SUCCEEDED(result) ? TryAllocator(allocator.get(), wishes) : result;
}

// The wait is not left to the allocator. There are systems whose allocator closes the semaphore that a thread
// is about to wait for when it is decommitted at that moment; another object may get the same handle, and the
// thread, and whoever stops the graph, would wait for that for ever.
HRESULT OutputPin::GetDeliveryBuffer(IMediaSample** out) {
    if (!sampleAllocator) return VFW_E_NOT_CONNECTED;
    for (;;) {
        const HRESULT result = sampleAllocator->GetBuffer(out, nullptr, nullptr, AM_GBF_NOWAIT);
        if (result != VFW_E_TIMEOUT) return result;
        Sleep(kBusyBuffersSleepMs);
    }
}

HRESULT OutputPin::Deliver(IMediaSample* sample) {
    return receiverInput ? receiverInput->Receive(sample) : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverEndOfStream() {
    return Peer() ? Peer()->EndOfStream() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverBeginFlush() {
    return Peer() ? Peer()->BeginFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverEndFlush() {
    return Peer() ? Peer()->EndFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    return Peer() ? Peer()->NewSegment(start, stop, rate) : VFW_E_NOT_CONNECTED;
}

}  // namespace cam::filter_base
