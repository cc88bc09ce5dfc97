#include "platform/desktop/camera_driver/camera_driver.h"

#include <new>

#include "base/automation.h"
#include "base/hresult.h"
#include "platform/desktop/camera_driver/stream_report.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "platform/platform.h"

namespace cam::driver {
namespace {

constexpr wchar_t kNameProperty[] = L"VCapName";

// Of the driver, for whoever asks a filter for its class: {2F4D6F0C-7E0B-4E6B-9C51-6E0D7A1B93D4}
constexpr CLSID kClsidCameraDriver = {
    0x2F4D6F0C, 0x7E0B, 0x4E6B, {0x9C, 0x51, 0x6E, 0x0D, 0x7A, 0x1B, 0x93, 0xD4}};

}  // namespace

Guarded<StreamReport> theStreamReport;

CameraDriver::CameraDriver()
    : CameraDriverBase(L"Webcam", nullptr, kClsidCameraDriver),
      stopping(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      ended(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      stillReady(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

// A graph may drop its filters without having stopped them.
CameraDriver::~CameraDriver() {
    EndThread();
    webcam.Close();
}

filter_base::Pin* CameraDriver::PinAt(int index) {
    filter_base::Pin* const pins[] = {&preview, &capture, &still};
    return pins[index];
}

HRESULT CameraDriver::NonDelegatingQueryInterface(REFIID id, void** out) {
    if (!out) return E_POINTER;
    if (id == __uuidof(IAMVideoProcAmp)) {
        *out = static_cast<IAMVideoProcAmp*>(&videoProcAmp);
    } else if (id == __uuidof(IAMCameraControl)) {
        *out = static_cast<IAMCameraControl*>(&cameraControl);
    } else {
        return CameraDriverBase::NonDelegatingQueryInterface(id, out);
    }
    AddRef();
    return S_OK;
}

// ---- The webcam -----------------------------------------------------------------------------------------

HRESULT STDMETHODCALLTYPE CameraDriver::Load(IPropertyBag* bag, IErrorLog* errors) try {
    if (!bag) return E_POINTER;
    Variant name;
    CAM_RETURN_IF_FAILED(bag->Read(kNameProperty, name.put(), errors));
    if (!name.text()) return E_INVALIDARG;
    const LockGuard lock(StateLock());
    if (IsLoaded()) return VFW_E_ALREADY_CONNECTED;
    identity = IdentityOf(name.text());
    if (identity.empty()) return HresultFromError(ERROR_FILE_NOT_FOUND);
    number = WebcamNumber(name.text());
    const HRESULT result = OpenWebcam();
    if (FAILED(result)) identity.clear();
    return result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CameraDriver::OpenWebcam() {
    CAM_RETURN_IF_FAILED(webcam.Open(identity));
    lost = false;
    if (!formats.empty()) return S_OK;
    for (const SourceFormat& format : webcam.Formats()) {
        SourceFormat copy = {format.shape, format.frameTime, {}};
        CAM_RETURN_IF_FAILED(copy.type.CopyFrom(format.type));
        formats.push_back(std::move(copy));
    }
    sizes = SizesOf(formats);
    previewSize = stillSize = PreviewSize(sizes);
    scaler = std::make_unique<PreviewScaler>(previewSize.width, previewSize.height);
    return S_OK;
}

LONGLONG CameraDriver::FrameTime() const {
    const SourceFormat* const format = FormatOf(stillSize);
    return format ? format->frameTime : 0;
}

bool CameraDriver::ChooseStill(PictureSize size) {
    if (!FormatOf(size)) return false;
    stillSize = size;
    return true;
}

HRESULT CameraDriver::StartWebcam() {
    const SourceFormat* const format = FormatOf(stillSize);
    if (!format) return VFW_E_INVALIDMEDIATYPE;
    {
        const auto report = theStreamReport.Locked();
        *report = {};
        report->shape = format->shape;
        report->frameTime = format->frameTime;
    }
    ResetEvent(stopping.get());
    ResetEvent(ended.get());
    ResetEvent(stillReady.get());
    pendingStill.Locked()->waits = false;
    hasFrames = false;
    lastFrame = GetTickCount();
    CAM_RETURN_IF_FAILED(webcam.Start(*format, *this));
    thread.reset(platform::CreateLibraryThread(Thread, this, nullptr));
    return thread ? S_OK : HresultFromLastError();
}

void CameraDriver::EndThread() {
    if (!thread) return;
    SetEvent(stopping.get());
    WaitForSingleObject(thread.get(), INFINITE);
    thread.reset();
}

// ---- IMediaFilter ---------------------------------------------------------------------------------------

// The webcam starts here: a graph passes on what a filter answers to Pause, not to Run.
HRESULT STDMETHODCALLTYPE CameraDriver::Pause() try {
    const LockGuard lock(StateLock());
    running = false;
    if (!IsLoaded()) return HresultFromError(ERROR_NOT_READY);
    if (!IsStopped()) return Filter::Pause();
    HRESULT result = lost || !webcam.IsOpen() ? OpenWebcam() : S_OK;
    if (SUCCEEDED(result)) result = Filter::Pause();
    if (SUCCEEDED(result)) result = StartWebcam();
    if (FAILED(result)) Stop();
    theStreamReport.Locked()->startResult = result;
    return result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE CameraDriver::Run(REFERENCE_TIME start) {
    const LockGuard lock(StateLock());
    const HRESULT result = Filter::Run(start);
    running = SUCCEEDED(result);
    return result;
}

// The pins first: with their buffers taken back, a frame on its way through them returns.
HRESULT STDMETHODCALLTYPE CameraDriver::Stop() {
    const LockGuard lock(StateLock());
    running = false;
    const HRESULT result = Filter::Stop();
    EndThread();
    webcam.Stop();
    return result;
}

// A live source has no frame to show while it is paused.
HRESULT STDMETHODCALLTYPE CameraDriver::GetState(DWORD timeoutMs, FILTER_STATE* state) {
    const HRESULT result = Filter::GetState(timeoutMs, state);
    return result == S_OK && *state == State_Paused ? VFW_S_CANT_CUE : result;
}

// ---- IAMVideoControl ------------------------------------------------------------------------------------

HRESULT STDMETHODCALLTYPE CameraDriver::GetCaps(IPin* pin, LONG* flags) {
    if (!pin || !flags) return E_POINTER;
    *flags = pin == static_cast<IPin*>(&still) ? VideoControlFlag_Trigger : 0;
    return S_OK;
}

// A trigger given while the graph does not run is kept until it does.
HRESULT STDMETHODCALLTYPE CameraDriver::SetMode(IPin* pin, LONG mode) {
    if (!pin) return E_POINTER;
    if (pin != static_cast<IPin*>(&still) || (mode != VideoControlFlag_Trigger && mode != 0))
        return E_INVALIDARG;
    if (mode == 0) return S_OK;
    if (!still.IsConnected()) return VFW_E_NOT_CONNECTED;
    if (lost) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
    ++triggers;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraDriver::GetMode(IPin* pin, LONG* mode) {
    if (!pin || !mode) return E_POINTER;
    *mode = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraDriver::GetCurrentActualFrameRate(IPin* pin, LONGLONG* frameTime) {
    return GetMaxAvailableFrameRate(pin, 0, {}, frameTime);
}

HRESULT STDMETHODCALLTYPE CameraDriver::GetMaxAvailableFrameRate(IPin* pin, LONG, SIZE, LONGLONG* frameTime) {
    if (!pin || !frameTime) return E_POINTER;
    const LockGuard lock(StateLock());
    *frameTime = FrameTime();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraDriver::GetFrameRateList(IPin*, LONG, SIZE, LONG*, LONGLONG**) {
    return E_NOTIMPL;
}

}  // namespace cam::driver
