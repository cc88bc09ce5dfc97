#include "webcam/webcam_filter.h"

#include <uuids.h>
#include <vfwmsgs.h>

#include <algorithm>
#include <cstring>

#include "webcam/webcam_format.h"

namespace kit {

using cam::LockGuard;
using cam::filter_base::MediaType;

namespace {
constexpr REFERENCE_TIME kSecond = 10000000;

bool IsStill(WebcamPin::Role role) {
    return role == WebcamPin::Role::Still;
}
}  // namespace

WebcamPin::WebcamPin(WebcamFilter& owner, Role part)
    : WebcamPinBase(owner, IsStill(part) ? L"Still" : L"Capture",
                    IsStill(part) ? PIN_CATEGORY_STILL : PIN_CATEGORY_CAPTURE),
      webcam(owner),
      role(part),
      stopping(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      running(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      triggers(CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr)) {
    if (!Formats().empty()) format = Formats().front();
}

// A graph may drop its filters without having stopped them.
WebcamPin::~WebcamPin() {
    EndStreaming();
}

HRESULT WebcamPin::OpenScene() {
    std::string error;
    scene = kit::OpenScene(webcam.Played().scene, error);
    return scene ? S_OK : E_FAIL;
}

HRESULT WebcamPin::Trigger() {
    if (!IsConnected()) return VFW_E_NOT_CONNECTED;
    if (webcam.State() != State_Running) return VFW_E_NOT_RUNNING;
    return ReleaseSemaphore(triggers.get(), 1, nullptr) ? S_OK : E_FAIL;
}

// ---- Pin --------------------------------------------------------------------------------------------------

const std::vector<WebcamFormat>& WebcamPin::Formats() const {
    const Scenario& played = webcam.Played();
    return IsStill(role) ? played.webcamStillFormats : played.webcamFormats;
}

const WebcamFormat* WebcamPin::Find(const AM_MEDIA_TYPE& type) const {
    if (type.majortype != MEDIATYPE_Video) return nullptr;
    if (isChosen) return Matches(format, type) ? &format : nullptr;
    const auto& formats = Formats();
    const auto found =
        std::find_if(formats.begin(), formats.end(), [&](const auto& one) { return Matches(one, type); });
    return found == formats.end() ? nullptr : &*found;
}

HRESULT WebcamPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    return Find(type) ? S_OK : S_FALSE;
}

HRESULT WebcamPin::SetMediaType(const AM_MEDIA_TYPE& type) {
    if (const WebcamFormat* const found = Find(type)) format = *found;
    return WebcamPinBase::SetMediaType(type);
}

HRESULT WebcamPin::GetMediaType(int position, MediaType& type) {
    const auto& formats = Formats();
    if (position < 0 || position >= (isChosen ? 1 : static_cast<int>(formats.size())))
        return VFW_S_NO_MORE_ITEMS;
    const WebcamFormat& listed = isChosen ? format : formats[static_cast<std::size_t>(position)];
    return FillMediaType(listed, type) ? S_OK : E_OUTOFMEMORY;
}

HRESULT WebcamPin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    request->cBuffers = std::max(request->cBuffers, 2L);
    request->cbBuffer = std::max(request->cbBuffer, static_cast<long>(format.SampleSize()));
    ALLOCATOR_PROPERTIES actual = {};
    const HRESULT hr = allocator->SetProperties(request, &actual);
    if (FAILED(hr)) return hr;
    return actual.cBuffers >= 1 && actual.cbBuffer >= format.SampleSize() ? S_OK : E_FAIL;
}

// What a connection settled ends with it.
void WebcamPin::BreakConnect() {
    if (!isChosen) format = Formats().front();
    WebcamPinBase::BreakConnect();
}

// ---- IAMStreamConfig --------------------------------------------------------------------------------------

HRESULT WebcamPin::NewType(const WebcamFormat& wanted, AM_MEDIA_TYPE** out) const {
    MediaType type;
    if (!FillMediaType(wanted, type)) return E_OUTOFMEMORY;
    *out = cam::filter_base::CreateMediaType(type);
    return *out ? S_OK : E_OUTOFMEMORY;
}

// Null: any format again. E_FAIL for one that is not offered, as the system's own filter for webcams says.
HRESULT WebcamPin::SetFormat(AM_MEDIA_TYPE* type) {
    return DeviceCall(L"IAMStreamConfig::SetFormat", Name(), [&]() -> HRESULT {
        const LockGuard guard(webcam.StateLock());
        if (!webcam.IsStopped()) return VFW_E_NOT_STOPPED;
        if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
        isChosen = false;
        if (!type) return S_OK;
        const WebcamFormat* const found = Find(*type);
        if (!found) return E_FAIL;
        format = *found;
        // The rate is the caller's to lower.
        const auto frameTime = reinterpret_cast<const VIDEOINFOHEADER*>(type->pbFormat)->AvgTimePerFrame;
        if (frameTime > kSecond / format.framesPerSecond)
            format.framesPerSecond = std::max(1, static_cast<int>(kSecond / frameTime));
        isChosen = true;
        return S_OK;
    });
}

HRESULT WebcamPin::GetFormat(AM_MEDIA_TYPE** out) {
    if (!out) return E_POINTER;
    const LockGuard guard(webcam.StateLock());
    return NewType(format, out);
}

HRESULT WebcamPin::GetNumberOfCapabilities(int* count, int* size) {
    if (!count || !size) return E_POINTER;
    *count = static_cast<int>(Formats().size());
    *size = sizeof(VIDEO_STREAM_CONFIG_CAPS);
    return S_OK;
}

HRESULT WebcamPin::GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) {
    if (index < 0) return E_INVALIDARG;
    const auto& formats = Formats();
    if (static_cast<std::size_t>(index) >= formats.size()) return S_FALSE;
    if (!out || !capabilities) return E_POINTER;
    const WebcamFormat& listed = formats[static_cast<std::size_t>(index)];
    const HRESULT hr = NewType(listed, out);
    if (FAILED(hr)) return hr;
    VIDEO_STREAM_CONFIG_CAPS caps = {};
    caps.guid = listed.longBlock ? FORMAT_VideoInfo2 : FORMAT_VideoInfo;
    caps.InputSize = {listed.width, listed.height};
    caps.MinCroppingSize = caps.MaxCroppingSize = caps.MinOutputSize = caps.MaxOutputSize = caps.InputSize;
    caps.MinFrameInterval = kSecond / listed.framesPerSecond;
    caps.MaxFrameInterval = kSecond / std::min(listed.framesPerSecond, 5);
    std::memcpy(capabilities, &caps, sizeof caps);
    return S_OK;
}

// ---- Streaming --------------------------------------------------------------------------------------------

HRESULT WebcamPin::Active() {
    const HRESULT hr = WebcamPinBase::Active();
    if (FAILED(hr)) return hr;
    ResetEvent(stopping.get());
    ResetEvent(running.get());
    framesSinceStart = 0;
    hasToldOfLoss = false;
    thread = std::thread([this] { Stream(); });
    return S_OK;
}

HRESULT WebcamPin::Run(REFERENCE_TIME) {
    SetEvent(running.get());
    return S_OK;
}

void WebcamPin::Inactive() {
    EndStreaming();
}

void WebcamPin::EndStreaming() {
    SetEvent(stopping.get());
    WebcamPinBase::Inactive();  // wakes a thread that waits for a free sample
    if (thread.joinable()) thread.join();
}

// False: streaming stops. True: the event came, or the time is over.
bool WebcamPin::WaitForTurn(HANDLE event, DWORD timeoutMs) {
    const HANDLE handles[] = {stopping.get(), event};
    return WaitForMultipleObjects(event ? 2 : 1, handles, FALSE, timeoutMs) != WAIT_OBJECT_0;
}

bool WebcamPin::IsGone() {
    if (!IsLost()) return false;
    if (!hasToldOfLoss && !webcam.Played().webcamHabits.losesSilently) {
        hasToldOfLoss = true;
        webcam.NotifyEvent(EC_DEVICE_LOST, 0, 0);
    }
    return true;
}

void WebcamPin::Stream() {
    if (IsStill(role)) {
        StreamStills();
    } else if (WaitForTurn(running.get(), INFINITE) &&
               WaitForTurn(nullptr, static_cast<DWORD>(webcam.Played().webcamHabits.firstFrameMs))) {
        StreamFrames();
    }
}

void WebcamPin::StreamStills() {
    while (WaitForTurn(running.get(), INFINITE) && WaitForTurn(triggers.get(), INFINITE)) {
        if (!IsLost() && SendFrame() == S_OK) CountStill();
    }
}

void WebcamPin::StreamFrames() {
    LARGE_INTEGER frequency, now;
    QueryPerformanceFrequency(&frequency);
    const LONGLONG interval = frequency.QuadPart / format.framesPerSecond;
    LONGLONG due = 0;
    while (WaitForTurn(running.get(), INFINITE)) {
        QueryPerformanceCounter(&now);
        // A camera does not catch up on frames that it could not deliver in time.
        if (now.QuadPart > due + interval) due = now.QuadPart;
        const LONGLONG waitMs = (due - now.QuadPart) * 1000 / frequency.QuadPart;
        if (!WaitForTurn(nullptr, waitMs > 0 ? static_cast<DWORD>(waitMs) : 0)) return;
        due += interval;
        if (IsGone()) {
            WaitForTurn(nullptr, INFINITE);
            return;
        }
        if (SendFrame() != S_OK) continue;
        webcam.NextFrame();
        CountPreviewFrame();
    }
}

HRESULT WebcamPin::SendFrame() {
    cam::ComPtr<IMediaSample> sample;
    BYTE* bytes = nullptr;
    HRESULT hr = GetDeliveryBuffer(sample.put());
    if (SUCCEEDED(hr)) hr = sample->GetPointer(&bytes);
    if (FAILED(hr)) return hr;
    if (sample->GetSize() < format.SampleSize()) return E_UNEXPECTED;
    const WebcamHabits& habits = webcam.Played().webcamHabits;
    const long index = framesSinceStart++;
    const Picture& seen = scene->Frame(webcam.FrameNumber(), format.width, format.height);
    const Picture* picture = &look.Apply(seen, webcam.Properties(), IsStill(role));
    if (!IsStill(role) && index < habits.blackFrames) {
        black.Resize(format.width, format.height);
        std::fill(black.pixels.begin(), black.pixels.end(), Rgb(0, 0, 0));
        picture = &black;
    }
    int length = Pack(*picture, format, habits, bytes);
    const bool isBroken = habits.brokenFrameEvery > 0 && (index + 1) % habits.brokenFrameEvery == 0;
    if (isBroken) length /= 2;
    sample->SetActualDataLength(length);
    sample->SetSyncPoint(TRUE);
    REFERENCE_TIME start = index * kSecond / format.framesPerSecond;
    REFERENCE_TIME end = start + kSecond / format.framesPerSecond;
    sample->SetTime(&start, &end);
    if (!IsStill(role)) NoteFrameSent();
    return Deliver(sample.get());
}

}  // namespace kit
