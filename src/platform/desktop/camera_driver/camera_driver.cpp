#include "platform/desktop/camera_driver/camera_driver.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/automation.h"
#include "base/hresult.h"
#include "base/insist.h"
#include "platform/desktop/camera_driver/stream_report.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "platform/platform.h"

namespace cam::driver {
namespace {

constexpr wchar_t kNameProperty[] = L"VCapName";

// Of the driver, for whoever asks a filter for its class: {2F4D6F0C-7E0B-4E6B-9C51-6E0D7A1B93D4}
constexpr CLSID kClsidCameraDriver = {
    0x2F4D6F0C, 0x7E0B, 0x4E6B, {0x9C, 0x51, 0x6E, 0x0D, 0x7A, 0x1B, 0x93, 0xD4}};

HRESULT CopyFormats(const std::vector<SourceFormat>& from, std::vector<SourceFormat>& to) {
    for (const SourceFormat& format : from) {
        SourceFormat copy = {format.shape, format.frameTime, {}};
        CAM_RETURN_IF_FAILED(copy.type.CopyFrom(format.type));
        to.push_back(std::move(copy));
    }
    return S_OK;
}

}  // namespace

Guarded<StreamReport> theStreamReport;
std::atomic<DWORD> theWarmUpFrames = 0;

CameraDriver::CameraDriver()
    : CameraFilter(L"Webcam", nullptr, kClsidCameraDriver),
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

// ---- The webcam -----------------------------------------------------------------------------------------

HRESULT STDMETHODCALLTYPE CameraDriver::Load(IPropertyBag* bag, IErrorLog* errors) try {
    if (!bag) return E_POINTER;
    Variant name;
    CAM_RETURN_IF_FAILED(bag->Read(kNameProperty, name.put(), errors));
    if (!name.text()) return E_INVALIDARG;
    if (!stopping || !ended || !stillReady) return E_OUTOFMEMORY;  // its thread could not be ended
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

// What is known of the webcam is known as a whole, or not at all.
HRESULT CameraDriver::OpenWebcam() try {
    CAM_RETURN_IF_FAILED(webcam.Open(identity));
    lost = false;
    if (!formats.empty()) return S_OK;
    std::vector<SourceFormat> ofVideo, ofStills;
    CAM_RETURN_IF_FAILED(CopyFormats(webcam.Formats(), ofVideo));
    CAM_RETURN_IF_FAILED(CopyFormats(webcam.StillFormats(), ofStills));
    std::vector<PictureSize> ofAll = SizesOf(ofVideo);
    const PictureSize first = PreviewSize(ofAll);
    for (const PictureSize size : SizesOf(ofStills)) {
        if (std::find(ofAll.begin(), ofAll.end(), size) == ofAll.end()) ofAll.push_back(size);
    }
    scaler = std::make_unique<PreviewScaler>(first.width, first.height);
    previewSize = stillSize = first;
    sizes = std::move(ofAll);
    formats = std::move(ofVideo);
    stillFormats = std::move(ofStills);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

const SourceFormat* CameraDriver::FormatOf(PictureSize size) const {
    const SourceFormat* const own = BestFormat(stillFormats, size);
    return own ? own : BestFormat(formats, size);
}

const SourceFormat* CameraDriver::VideoFormat() const {
    return BestFormat(formats, OwnStillFormat() ? previewSize : stillSize);
}

LONGLONG CameraDriver::FrameTime() {
    const SourceFormat* const format = VideoFormat();
    return format ? format->frameTime : 0;
}

bool CameraDriver::ChooseStill(PictureSize size) {
    if (!FormatOf(size)) return false;
    stillSize = size;
    return true;
}

HRESULT CameraDriver::StartWebcam() {
    const SourceFormat* const format = VideoFormat();
    const SourceFormat* const ownStills = OwnStillFormat();
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
    pendingStills.Locked()->clear();
    hasOwnStills = ownStills != nullptr;
    hasFrames = false;
    lastFrame = GetTickCount();
    CAM_RETURN_IF_FAILED(webcam.Start(*format, *this, ownStills, stillReceiver));
    thread.reset(platform::CreateLibraryThread(Thread, this, nullptr));
    return thread ? S_OK : HresultFromLastError();
}

void CameraDriver::EndThread() {
    if (!thread) return;
    // A system that is short of something may refuse either: the thread uses this object, and has to be gone.
    constexpr DWORD kAgainMs = 100;
    do {
        Signal(stopping.get());
    } while (WaitForSingleObject(thread.get(), kAgainMs) != WAIT_OBJECT_0);
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
    if (SUCCEEDED(result) && !running && hasOwnStills) {
        for (LONG ahead = triggers; ahead > 0; --ahead) webcam.TriggerStill();
    }
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

// ---- Stills ---------------------------------------------------------------------------------------------

// A trigger given while the graph does not run is kept until it does.
HRESULT CameraDriver::TriggerStill() {
    const LockGuard lock(StateLock());
    if (!still.IsConnected()) return VFW_E_NOT_CONNECTED;
    if (lost) return HresultFromError(ERROR_DEVICE_NOT_CONNECTED);
    ++triggers;
    if (!hasOwnStills || !running) return S_OK;
    const HRESULT result = webcam.TriggerStill();
    if (FAILED(result)) DropTrigger();
    return result;
}

void CameraDriver::DropTrigger() {
    LONG left = triggers;
    while (left > 0 && !triggers.compare_exchange_weak(left, left - 1)) {
    }
}

}  // namespace cam::driver
