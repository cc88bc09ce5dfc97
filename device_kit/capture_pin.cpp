#include "capture_pin.h"

#include <uuids.h>
#include <vfwmsgs.h>

#include <cstring>

#include "capture_filter.h"

namespace kit {

using cam::LockGuard;
using cam::filter_base::MediaType;

static_assert(sizeof(VIDEO_STREAM_CONFIG_CAPS) == 128, "the size that cameras are checked for");

namespace {
const GUID& CategoryOf(CapturePin::Role role) {
    return role == CapturePin::Role::Preview ? PIN_CATEGORY_PREVIEW
           : role == CapturePin::Role::Still ? PIN_CATEGORY_STILL
                                             : PIN_CATEGORY_CAPTURE;
}
}  // namespace

CapturePin::CapturePin(CaptureFilter& owner, Role part, const wchar_t* name, const Format& first)
    : CapturePinBase(owner, name, CategoryOf(part)),
      camera(owner),
      role(part),
      format(first),
      stopping(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      running(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      triggers(CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr)) {}

// A graph may drop its filters without having stopped them.
CapturePin::~CapturePin() {
    EndStreaming();
}

HRESULT CapturePin::OpenScene() {
    std::string error;
    scene = kit::OpenScene(camera.Played().scene, error);
    return scene ? S_OK : E_FAIL;
}

HRESULT CapturePin::Trigger() {
    if (!IsConnected()) return VFW_E_NOT_CONNECTED;
    return ReleaseSemaphore(triggers.get(), 1, nullptr) ? S_OK : E_FAIL;
}

// ---- Pin --------------------------------------------------------------------------------------------------

HRESULT CapturePin::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == __uuidof(IAMStreamConfig) && role != Role::Still) return E_NOINTERFACE;
    return CapturePinBase::NonDelegatingQueryInterface(iid, out);
}

HRESULT CapturePin::GetMediaType(int position, MediaType& type) {
    if (position != 0) return VFW_S_NO_MORE_ITEMS;
    return FillMediaType(format, camera.Played().framesPerSecond, type) ? S_OK : E_OUTOFMEMORY;
}

// ---- IPin -------------------------------------------------------------------------------------------------

HRESULT CapturePin::Connect(IPin* receiver, const AM_MEDIA_TYPE* type) {
    return DeviceCall(L"IPin::Connect", Name(), [&] { return CapturePinBase::Connect(receiver, type); });
}

// Not refused by a lost device: a graph must always come apart.
HRESULT CapturePin::Disconnect() {
    return Call(L"IPin::Disconnect", Name(), [&] { return CapturePinBase::Disconnect(); });
}

HRESULT CapturePin::EnumMediaTypes(IEnumMediaTypes** out) {
    return DeviceCall(L"IPin::EnumMediaTypes", Name(), [&] { return CapturePinBase::EnumMediaTypes(out); });
}

// ---- IKsPropertySet ---------------------------------------------------------------------------------------

HRESULT CapturePin::Get(REFGUID set, ULONG id, void* instance, ULONG instanceSize, void* data, ULONG size,
                        ULONG* returned) {
    const HRESULT wanted = Judge(L"IKsPropertySet::Get", Name(), true);
    return FAILED(wanted) ? wanted
                          : CapturePinBase::Get(set, id, instance, instanceSize, data, size, returned);
}

// ---- IAMStreamConfig --------------------------------------------------------------------------------------

HRESULT CapturePin::NewType(const Format& wanted, AM_MEDIA_TYPE** out) const {
    MediaType type;
    if (!FillMediaType(wanted, camera.Played().framesPerSecond, type)) return E_OUTOFMEMORY;
    *out = cam::filter_base::CreateMediaType(type);
    return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT CapturePin::SetFormat(AM_MEDIA_TYPE* type) {
    return DeviceCall(L"IAMStreamConfig::SetFormat", Name(), [&]() -> HRESULT {
        if (!type) return E_POINTER;
        const LockGuard guard(camera.StateLock());
        if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
        for (const Format& offered : camera.Played().stillFormats) {
            if (!Matches(offered, *type)) continue;
            format = offered;
            return S_OK;
        }
        return VFW_E_INVALIDMEDIATYPE;
    });
}

HRESULT CapturePin::GetFormat(AM_MEDIA_TYPE** out) {
    return DeviceCall(L"IAMStreamConfig::GetFormat", Name(), [&]() -> HRESULT {
        if (!out) return E_POINTER;
        const LockGuard guard(camera.StateLock());
        return NewType(format, out);
    });
}

HRESULT CapturePin::GetNumberOfCapabilities(int* count, int* size) {
    return DeviceCall(L"IAMStreamConfig::GetNumberOfCapabilities", Name(), [&]() -> HRESULT {
        if (!count || !size) return E_POINTER;
        *count = static_cast<int>(camera.Played().stillFormats.size());
        *size = sizeof(VIDEO_STREAM_CONFIG_CAPS);
        return S_OK;
    });
}

HRESULT CapturePin::GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) {
    return DeviceCall(L"IAMStreamConfig::GetStreamCaps", std::to_wstring(index), [&]() -> HRESULT {
        if (!out || !capabilities) return E_POINTER;
        if (index < 0) return E_INVALIDARG;
        const auto& formats = camera.Played().stillFormats;
        if (static_cast<std::size_t>(index) >= formats.size()) return S_FALSE;
        const Format& offered = formats[static_cast<std::size_t>(index)];
        const HRESULT hr = NewType(offered, out);
        if (FAILED(hr)) return hr;
        const auto* block = reinterpret_cast<const FormatBlock*>((*out)->pbFormat);
        VIDEO_STREAM_CONFIG_CAPS caps = {};
        caps.guid = FORMAT_VideoInfo;
        caps.InputSize = {offered.width, offered.height};
        caps.MinCroppingSize = caps.MaxCroppingSize = caps.InputSize;
        caps.CropGranularityX = caps.CropGranularityY = 1;
        caps.MinOutputSize = caps.MaxOutputSize = caps.InputSize;
        caps.MinFrameInterval = caps.MaxFrameInterval = block->header.AvgTimePerFrame;
        caps.MinBitsPerSecond = caps.MaxBitsPerSecond = static_cast<LONG>(block->header.dwBitRate);
        std::memcpy(capabilities, &caps, sizeof caps);
        return S_OK;
    });
}

// ---- Streaming --------------------------------------------------------------------------------------------

HRESULT CapturePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    return RequestBuffers(format, allocator, request);
}

HRESULT CapturePin::Active() {
    const HRESULT hr = CapturePinBase::Active();
    if (FAILED(hr)) return hr;
    ResetEvent(stopping.get());
    ResetEvent(running.get());
    thread = std::thread([this] { Stream(); });
    return S_OK;
}

HRESULT CapturePin::Run(REFERENCE_TIME) {
    SetEvent(running.get());
    return S_OK;
}

void CapturePin::Inactive() {
    EndStreaming();
}

void CapturePin::EndStreaming() {
    SetEvent(stopping.get());
    CapturePinBase::Inactive();  // wakes a thread that waits for a free sample
    if (thread.joinable()) thread.join();
}

void CapturePin::Stream() {
    if (role == Role::Still) {
        StreamStills();
    } else {
        StreamFrames();
    }
}

// False: streaming stops. True: the event came, or the time is over.
bool CapturePin::WaitForTurn(HANDLE event, DWORD timeoutMs) {
    const HANDLE handles[] = {stopping.get(), event};
    return WaitForMultipleObjects(event ? 2 : 1, handles, FALSE, timeoutMs) != WAIT_OBJECT_0;
}

void CapturePin::StreamFrames() {
    LARGE_INTEGER frequency, now;
    QueryPerformanceFrequency(&frequency);
    const LONGLONG interval = frequency.QuadPart / camera.Played().framesPerSecond;
    LONGLONG due = 0;
    while (WaitForTurn(running.get(), INFINITE)) {
        QueryPerformanceCounter(&now);
        // A camera does not catch up on frames that it could not deliver in time.
        if (now.QuadPart > due + interval) due = now.QuadPart;
        const LONGLONG waitMs = (due - now.QuadPart) * 1000 / frequency.QuadPart;
        if (!WaitForTurn(nullptr, waitMs > 0 ? static_cast<DWORD>(waitMs) : 0)) return;
        due += interval;
        if (IsLost()) {
            if (WaitForTurn(nullptr, INFINITE)) continue;
            return;
        }
        if (SendPicture() != S_OK) continue;
        camera.NextFrame();
        if (role == Role::Preview) CountPreviewFrame();
    }
}

void CapturePin::StreamStills() {
    while (WaitForTurn(running.get(), INFINITE) && WaitForTurn(triggers.get(), INFINITE)) {
        if (!IsLost() && SendPicture() == S_OK) CountStill();
    }
}

HRESULT CapturePin::SendPicture() {
    cam::ComPtr<IMediaSample> sample;
    HRESULT hr = GetDeliveryBuffer(sample.put());
    if (FAILED(hr)) return hr;
    BYTE* bytes = nullptr;
    hr = sample->GetPointer(&bytes);
    if (FAILED(hr)) return hr;
    if (sample->GetSize() < format.SampleSize()) return E_UNEXPECTED;
    const Picture& seen = scene->Frame(camera.FrameNumber(), format.width, format.height);
    Pack(look.Apply(seen, camera.Properties(), role == Role::Still), format, bytes);
    sample->SetActualDataLength(format.SampleSize());
    sample->SetSyncPoint(TRUE);
    // Without time stamps the renderer shows a frame as soon as it comes.
    sample->SetTime(nullptr, nullptr);
    if (role == Role::Preview) NoteFrameSent();
    return Deliver(sample.get());
}

}  // namespace kit
