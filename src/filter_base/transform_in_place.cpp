#include "filter_base/transform_in_place.h"

#include <cstring>

namespace cam::filter_base {

Pin* TransformInPlaceFilter::PinAt(int index) {
    return index == 0 ? static_cast<Pin*>(&input) : static_cast<Pin*>(&output);
}

// ---- Samples -------------------------------------------------------------------------------------

namespace {
// Everything a sample carries but its buffer's size and place.
HRESULT CopySample(IMediaSample& from, IMediaSample& to) {
    BYTE* source = nullptr;
    BYTE* target = nullptr;
    HRESULT result = from.GetPointer(&source);
    if (SUCCEEDED(result)) result = to.GetPointer(&target);
    if (FAILED(result)) return result;
    // A sender may tell a length below 0, one beyond its own buffer, or hand over no buffer at all.
    const long length = from.GetActualDataLength();
    if (length < 0 || length > from.GetSize() || length > to.GetSize()) return VFW_E_BUFFER_OVERFLOW;
    if (length > 0 && (!source || !target)) return E_POINTER;
    if (length > 0) std::memcpy(target, source, static_cast<size_t>(length));
    to.SetActualDataLength(length);

    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    const HRESULT time = from.GetTime(&start, &stop);
    to.SetTime(SUCCEEDED(time) ? &start : nullptr, time == S_OK ? &stop : nullptr);
    const bool hasMediaTime = from.GetMediaTime(&start, &stop) == S_OK;
    to.SetMediaTime(hasMediaTime ? &start : nullptr, hasMediaTime ? &stop : nullptr);
    to.SetSyncPoint(from.IsSyncPoint() == S_OK);
    to.SetPreroll(from.IsPreroll() == S_OK);
    to.SetDiscontinuity(from.IsDiscontinuity() == S_OK);

    AM_MEDIA_TYPE* type = nullptr;
    if (from.GetMediaType(&type) != S_OK) return S_OK;
    result = to.SetMediaType(type);
    DeleteMediaType(type);
    return result;
}
}  // namespace

HRESULT TransformInPlaceFilter::CopyToOutput(IMediaSample& sample, ComPtr<IMediaSample>& copy) {
    const HRESULT result = output.GetDeliveryBuffer(copy.put());
    return SUCCEEDED(result) ? CopySample(sample, *copy.get()) : result;
}

HRESULT TransformInPlaceFilter::Process(IMediaSample& sample) {
    if (output.SharesAllocator() || !output.IsConnected()) {
        const HRESULT result = Transform(&sample);
        if (FAILED(result)) return result;
        return result == S_FALSE ? S_OK : output.Deliver(&sample);
    }
    ComPtr<IMediaSample> copy;
    HRESULT result = CopyToOutput(sample, copy);
    if (SUCCEEDED(result)) result = Transform(copy.get());
    if (FAILED(result)) return result;
    return result == S_FALSE ? S_OK : output.Deliver(copy.get());
}

// ---- Input pin -----------------------------------------------------------------------------------

HRESULT TransformInPlaceFilter::InPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    const HRESULT result = owner.CheckInputType(type);
    if (result != S_OK) return result;
    OutPin& output = owner.output;
    // A type other than the one that goes out needs the receiver's consent.
    if (!output.IsConnected() || output.HasType(type)) return S_OK;
    return output.Peer()->QueryAccept(&type) == S_OK ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT TransformInPlaceFilter::InPin::SetMediaType(const AM_MEDIA_TYPE& type) {
    HRESULT result = owner.SetMediaType(PINDIR_INPUT, type);
    if (SUCCEEDED(result)) result = InputPin::SetMediaType(type);
    // A change in mid-stream travels on with the sample; a new connection asks for a new one downstream
    // (CompleteConnect).
    OutPin& output = owner.output;
    if (SUCCEEDED(result) && !owner.IsStopped() && output.IsConnected()) result = output.SetMediaType(type);
    return result;
}

HRESULT TransformInPlaceFilter::InPin::CompleteConnect(IPin*) {
    OutPin& output = owner.output;
    if (!output.IsConnected() || output.HasType(Type())) return S_OK;
    IFilterGraph* graph = owner.Graph();
    return graph ? graph->Reconnect(&output) : VFW_E_NOT_IN_GRAPH;
}

// Whatever the receiver takes can come in; nobody knows without one.
HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::EnumMediaTypes(IEnumMediaTypes** out) {
    if (!out) return E_POINTER;
    const LockGuard lock(owner.StateLock());
    return owner.output.IsConnected() ? owner.output.Peer()->EnumMediaTypes(out) : VFW_E_NOT_CONNECTED;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::EndOfStream() {
    const ThreadRoleScope role(kStreamingThread);
    const LockGuard lock(owner.receiveLock);
    const HRESULT result = CheckStreaming();
    return result == S_OK ? owner.output.DeliverEndOfStream() : result;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::BeginFlush() {
    const HRESULT result = InputPin::BeginFlush();
    return owner.output.IsConnected() ? owner.output.DeliverBeginFlush() : result;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::EndFlush() {
    const LockGuard lock(owner.receiveLock);
    const HRESULT result = owner.output.IsConnected() ? owner.output.DeliverEndFlush() : S_OK;
    InputPin::EndFlush();
    return result;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop,
                                                                    double rate) {
    const LockGuard lock(owner.receiveLock);
    return owner.output.IsConnected() ? owner.output.DeliverNewSegment(start, stop, rate) : S_OK;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::GetAllocator(IMemAllocator** out) {
    if (!out) return E_POINTER;
    const LockGuard lock(owner.StateLock());
    if (owner.output.IsConnected() && SUCCEEDED(owner.output.GetReceiverAllocator(out))) return S_OK;
    return InputPin::GetAllocator(out);
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::NotifyAllocator(IMemAllocator* allocator,
                                                                         BOOL readOnly) {
    const LockGuard lock(owner.StateLock());
    const HRESULT result = InputPin::NotifyAllocator(allocator, readOnly);
    if (FAILED(result) || !owner.output.IsConnected()) return result;
    return owner.output.FollowAllocator();
}

HRESULT STDMETHODCALLTYPE
TransformInPlaceFilter::InPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* requirements) {
    if (!requirements) return E_POINTER;
    const LockGuard lock(owner.StateLock());
    return owner.output.IsConnected() ? owner.output.GetReceiverRequirements(requirements) : E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::InPin::Receive(IMediaSample* sample) {
    if (!sample) return E_POINTER;
    const ThreadRoleScope role(kStreamingThread);
    const LockGuard lock(owner.receiveLock);
    const HRESULT result = CheckSample(*sample);
    return result == S_OK ? owner.Process(*sample) : result;
}

// ---- Output pin ----------------------------------------------------------------------------------

// What goes out has come in: the sender is asked whether it could send that. While samples are copied on
// their way nothing can change.
HRESULT TransformInPlaceFilter::OutPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    if (!owner.input.IsConnected()) return VFW_E_NOT_CONNECTED;
    if (owner.input.HasType(type)) return S_OK;
    if (!owner.IsStopped() && !SharesAllocator()) return VFW_E_TYPE_NOT_ACCEPTED;
    const HRESULT result = owner.CheckInputType(type);
    if (result != S_OK) return result;
    return owner.input.Peer()->QueryAccept(&type) == S_OK ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT TransformInPlaceFilter::OutPin::SetMediaType(const AM_MEDIA_TYPE& type) {
    const HRESULT result = owner.SetMediaType(PINDIR_OUTPUT, type);
    return SUCCEEDED(result) ? OutputPin::SetMediaType(type) : result;
}

HRESULT TransformInPlaceFilter::OutPin::GetMediaType(int position, MediaType& type) {
    return owner.GetMediaType(position, type);
}

HRESULT TransformInPlaceFilter::OutPin::DecideBufferSize(IMemAllocator* allocator,
                                                         ALLOCATOR_PROPERTIES* request) {
    return owner.DecideBufferSize(allocator, request);
}

// Offers the sender's allocator to the receiver. The sender has sized it and stays its master.
HRESULT TransformInPlaceFilter::OutPin::ShareAllocator() {
    IMemAllocator* allocator = owner.input.Allocator();
    ALLOCATOR_PROPERTIES has = {};
    if (!allocator || FAILED(allocator->GetProperties(&has))) return VFW_E_NO_ALLOCATOR;
    ALLOCATOR_PROPERTIES wishes = {};
    if (SUCCEEDED(Receiver()->GetAllocatorRequirements(&wishes))) {
        const bool aligned = wishes.cbAlign <= 1 || (has.cbAlign > 0 && has.cbAlign % wishes.cbAlign == 0);
        if (!aligned || has.cBuffers < wishes.cBuffers || has.cbBuffer < wishes.cbBuffer ||
            has.cbPrefix < wishes.cbPrefix) {
            return VFW_E_NO_ALLOCATOR;
        }
    }
    const HRESULT result = Receiver()->NotifyAllocator(allocator, owner.input.IsReadOnly());
    if (SUCCEEDED(result)) SetAllocator(allocator);
    return result;
}

HRESULT TransformInPlaceFilter::OutPin::DecideAllocator() {
    const HRESULT result = ShareAllocator();
    return SUCCEEDED(result) ? result : OutputPin::DecideAllocator();
}

// What goes out must come in.
HRESULT TransformInPlaceFilter::OutPin::CompleteConnect(IPin* peer) {
    const HRESULT result = OutputPin::CompleteConnect(peer);
    if (FAILED(result) || owner.input.HasType(Type())) return result;
    IFilterGraph* graph = owner.Graph();
    return graph ? graph->Reconnect(&owner.input) : VFW_E_NOT_IN_GRAPH;
}

HRESULT TransformInPlaceFilter::OutPin::FollowAllocator() {
    if (SharesAllocator()) return Receiver()->NotifyAllocator(Allocator(), owner.input.IsReadOnly());
    return DecideAllocator();
}

// The receiver is late or early: whoever makes the samples should know.
HRESULT STDMETHODCALLTYPE TransformInPlaceFilter::OutPin::Notify(IBaseFilter*, Quality quality) {
    if (QualitySink()) return QualitySink()->Notify(&owner, quality);
    ComPtr<IQualityControl> sender;
    IPin* peer = owner.input.Peer();
    if (!peer || FAILED(peer->QueryInterface(__uuidof(IQualityControl), sender.putVoid())))
        return VFW_E_NOT_FOUND;
    return sender->Notify(&owner, quality);
}

}  // namespace cam::filter_base
