#include "still/sample_grabber.h"

#include <algorithm>
#include <new>

#include "base/hresult.h"
#include "still/frame_format.h"

namespace cam::still {

SampleGrabberFilter::SampleGrabberFilter(IUnknown* outer)
    : Implements(L"SampleGrabber", outer, kClsidSampleGrabber) {}

HRESULT SampleGrabberFilter::CheckInputType(const AM_MEDIA_TYPE& type) {
    const bool accepted = IsEqualGUID(type.majortype, MEDIATYPE_Video) &&
                          IsEqualGUID(type.subtype, MEDIASUBTYPE_RGB555) &&
                          IsEqualGUID(type.formattype, FORMAT_VideoInfo);
    return accepted ? S_OK : E_FAIL;
}

HRESULT SampleGrabberFilter::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    if (!Input().IsConnected()) return E_UNEXPECTED;
    request->cBuffers = 1;
    request->cbBuffer = static_cast<long>(Input().Type().lSampleSize);
    ALLOCATOR_PROPERTIES actual = {};
    const HRESULT result = allocator->SetProperties(request, &actual);
    if (FAILED(result)) return result;
    return actual.cBuffers >= request->cBuffers && actual.cbBuffer >= request->cbBuffer ? S_OK : E_FAIL;
}

HRESULT SampleGrabberFilter::GetMediaType(int position, filter_base::MediaType& type) {
    if (!Input().IsConnected()) return E_UNEXPECTED;
    if (position < 0) return E_INVALIDARG;
    if (position > 0) return VFW_S_NO_MORE_ITEMS;
    return Input().CopyType(type);
}

// Both pins carry the same frames: the direction makes no difference.
HRESULT SampleGrabberFilter::SetMediaType(PIN_DIRECTION, const AM_MEDIA_TYPE& type) {
    const VIDEOINFOHEADER* info = CompleteVideoInfo(type);
    if (!info || CheckInputType(type) != S_OK) return E_FAIL;
    const auto accepted = format.Locked();
    CAM_RETURN_IF_FAILED(accepted->type.CopyFrom(type));
    accepted->frame = FrameOf(*info);
    accepted->sampleSize = type.lSampleSize;
    return S_OK;
}

HRESULT SampleGrabberFilter::Transform(IMediaSample* sample) {
    if (!sample) return E_FAIL;
    BYTE* frame = nullptr;
    const HRESULT result = sample->GetPointer(&frame);
    if (FAILED(result)) return result;
    // The whole buffer, not the length of the data in it. A sender may tell a size below 0, or one of
    // nothing.
    const DWORD size = frame ? static_cast<DWORD>(std::max(sample->GetSize(), 0L)) : 0;
    if (const camFrameCallback receiver = callback) {
        const Frame measures = format.Locked()->frame;
        receiver(frame, size, measures.height, measures.width, measures.stride);
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SampleGrabberFilter::SetCallback(camFrameCallback newCallback) {
    callback = newCallback;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SampleGrabberFilter::GetGeometry(FrameGeometry* geometry) {
    if (!geometry) return E_POINTER;
    const auto accepted = format.Locked();
    const Frame& frame = accepted->frame;
    *geometry = {frame.height, frame.width, accepted->sampleSize, frame.stride};
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SampleGrabberFilter::GetInputMediaType(AM_MEDIA_TYPE* type) {
    if (!type) return E_POINTER;
    *type = AM_MEDIA_TYPE{};
    const auto accepted = format.Locked();
    return accepted->type.empty() ? VFW_E_NOT_CONNECTED : filter_base::CopyMediaType(accepted->type, *type);
}

filter_base::ComObject* CreateSampleGrabber(IUnknown* outer, HRESULT* result) {
    auto* filter = new (std::nothrow) SampleGrabberFilter(outer);
    if (!filter && result) *result = E_OUTOFMEMORY;
    return filter;
}

}  // namespace cam::still
