#include "platform/desktop/camera_driver/frame_sink.h"

#include <algorithm>

#include "platform/desktop/camera_driver/source_format.h"

namespace cam::driver {

FrameSink::FrameSink() : Filter(L"Frame sink", nullptr, GUID_NULL) {}

HRESULT FrameSink::InPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    return ReadShape(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT FrameSink::InPin::SetMediaType(const AM_MEDIA_TYPE& type) {
    const auto read = ReadShape(type);
    if (!read) return VFW_E_TYPE_NOT_ACCEPTED;
    shape = *read;
    return InputPin::SetMediaType(type);
}

HRESULT STDMETHODCALLTYPE FrameSink::InPin::EndOfStream() {
    const ThreadRoleScope role(kStreamingThread);
    const auto receiver = owner.receiver.Locked();
    if (*receiver) (*receiver)->OnEnd();
    return S_OK;
}

// A frame that cannot be used must not end the stream.
HRESULT STDMETHODCALLTYPE FrameSink::InPin::Receive(IMediaSample* sample) {
    if (!sample) return E_POINTER;
    const ThreadRoleScope role(kStreamingThread);
    const HRESULT welcome = CheckSample(*sample);
    if (welcome != S_OK) return welcome;
    const auto receiver = owner.receiver.Locked();
    if (!*receiver) return S_OK;
    BYTE* bytes = nullptr;
    const long length = std::min(sample->GetActualDataLength(), sample->GetSize());
    if (FAILED(sample->GetPointer(&bytes)) || !bytes || length <= 0 ||
        static_cast<std::size_t>(length) < shape.FrameBytes()) {
        (*receiver)->OnBrokenFrame();
    } else {
        (*receiver)->OnFrame(shape, {bytes, static_cast<std::size_t>(length)});
    }
    return S_OK;
}

}  // namespace cam::driver
