#include "imager_camera/imager_camera.h"

#include <utility>

#include "base/copy_text.h"
#include "base/hresult.h"
#include "base/insist.h"
#include "platform/message_wait.h"
#include "base/picture_format.h"
#include "imager_camera/preview_thread.h"
#include "platform/platform.h"
#include "still/encoders/jpeg_quality.h"

namespace cam {
namespace {

constexpr DWORD kThreadEndMs = 5000;
constexpr DWORD kOpenRecordInfoWord = 4;  // the fifth
// Characters; one more, and the bytes with the terminating zero leave 32 bits.
constexpr UINT_PTR kMaxTextLength = 0x7FFFFFFE;

// The maker's library stores no TIFF.
bool IsStillName(const wchar_t* fileName) {
    const PictureFormat format = PictureFormatOf(fileName);
    return format != PictureFormat::None && format != PictureFormat::Tiff;
}

}  // namespace

ImagerCamera::ImagerCamera() {
    session.attach(new ImagerSession);
    session->library.Load();
}

ImagerCamera::~ImagerCamera() {
    EndPreviewThreads();
    if (session->library.Status() == S_OK) session->library->shutdown();
    const auto progress = session->progress.Locked();
    progress->request.overlayText.reset();
    progress->state = CameraState::None;
}

// No preview is started by a message that comes in meanwhile: it would take the event and the handle that are
// waited with, or outlive the camera's end.
DWORD ImagerCamera::WaitFor(HANDLE handle, DWORD timeoutMs) {
    const bool wasWaiting = std::exchange(isWaiting, true);
    const DWORD waited = WaitLettingSentMessagesIn(handle, timeoutMs);
    isWaiting = wasWaiting;
    return waited;
}

// All threads, should a preview have been started twice: one stop event ends one thread only, and the
// others see `ending` within a pass.
void ImagerCamera::EndPreviewThreads() {
    if (session->ending == Ending::CutOff) return;
    const DWORD started = GetTickCount();
    session->ending = Ending::Requested;
    Signal(session->stopEvent.get());
    const bool ended = WaitFor(session->threadsEnded.get(), kThreadEndMs) == WAIT_OBJECT_0;
    session->End(ended ? Ending::None : Ending::CutOff);
    // To its very end, so that nothing of the camera is left when it has been shut down.
    const DWORD gone = GetTickCount() - started;
    if (ended && previewThread && gone < kThreadEndMs) WaitFor(previewThread.get(), kThreadEndMs - gone);
}

HRESULT ImagerCamera::SetOwnerWindow(HWND window) {
    session->previewWindow = window;
    return S_OK;
}

HRESULT ImagerCamera::SetEventsWindow(HWND window) {
    session->eventsWindow = window;
    return S_OK;
}

HRESULT ImagerCamera::RegisterMediaTypeCallback(camMediaTypeCallback) {
    return S_OK;
}

HRESULT ImagerCamera::Init(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) {
    SetOwnerWindow(ownerWindow);
    if (!session->stopEvent) session->stopEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!session->snapEvent) session->snapEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (session->library.Status() != S_OK) return session->library.Status();
    if (!session->stopEvent || !session->snapEvent) return HresultFromError(ERROR_NOT_ENOUGH_MEMORY);

    DWORD word = 0;
    ImagerOpenRecord record = {};
    if (session->library->open(settingsPath, settingsSection, &word, &record) != 0) return E_FAIL;
    engineInfoA = record.words[kOpenRecordInfoWord];
    engineInfoB = record.words[kOpenRecordInfoWord];
    // Only the third takes effect: the two switches belong to the other family of properties, which refuses
    // nothing, but is not asked. Applications find them in the library as they were before, and rely on it.
    SetPropertyA(16, static_cast<long>(switch16), CAM_FLAG_MANUAL);
    SetPropertyA(80, static_cast<long>(switch80), CAM_FLAG_MANUAL);
    SetPropertyA(CAM_PROPERTY_COLOR_ENABLE, monoColor != 0 ? 1 : 0, CAM_FLAG_MANUAL);
    const auto progress = session->progress.Locked();
    progress->state = CameraState::Initialised;
    return S_OK;
}

HRESULT ImagerCamera::Open() {
    const auto progress = session->progress.Locked();
    progress->state = CameraState::Stopped;
    session->Notify(ImagerNotice::Information, L"Framegraph created");
    return S_OK;
}

// Asks nothing about a preview that runs already: a second thread then grabs frames beside the first, and
// each stop ends one.
HRESULT ImagerCamera::StartPreview() {
    if (session->library.Status() != S_OK) return session->library.Status();
    // Without them the thread would neither pause nor hear that it shall end, and nobody that it has ended.
    if (!session->stopEvent || !session->snapEvent || !session->threadsEnded) return E_FAIL;
    if (isWaiting) return kNotNow;
    for (const HANDLE event : {session->stopEvent.get(), session->snapEvent.get()})
        Insist([event] { return ResetEvent(event) != FALSE; });
    session->CountThreadIn();
    session->AddRef();  // the thread's
    previewThread.reset(platform::CreateLibraryThread(ImagerPreviewThread, session.get(), nullptr));
    if (!previewThread) {
        const HRESULT failure = HresultFromLastError();
        session->Release();
        session->CountThreadOut();
        session->Notify(ImagerNotice::PreviewFailed, L"Could not create preview thread.");
        return failure;
    }
    return S_OK;
}

HRESULT ImagerCamera::StopPreview() {
    Signal(session->stopEvent.get());
    if (!previewThread) return S_OK;
    return WaitFor(previewThread.get(), kThreadEndMs) == WAIT_TIMEOUT ? E_ABORT : S_OK;
}

HRESULT ImagerCamera::RegisterPreviewCallback(camFrameCallback callback) {
    session->previewCallback = callback;
    return S_OK;
}

HRESULT ImagerCamera::RegisterStillImageCallback(camFrameCallback callback) {
    session->stillCallback = callback;
    return S_OK;
}

// The steps' order can be seen from outside: a name that is refused leaves state, text and name behind it.
HRESULT ImagerCamera::SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR textLength,
                                  UINT_PTR position, UINT_PTR extra, UINT_PTR font) {
    const LONG quality = still::JpegQuality(static_cast<BYTE>(mode));
    // A copy: one that is refused may be gone when the still that it has renamed is written.
    std::unique_ptr<wchar_t[]> name;
    if (fileName && !(name = CopyText(fileName, wcslen(fileName)))) return E_OUTOFMEMORY;
    {
        const auto progress = session->progress.Locked();
        progress->state = CameraState::StillTriggered;
        StillRequest& request = progress->request;
        request.jpegQuality = quality;
        request.fileName = std::move(name);
        request.overlayText.reset();
        request.overlayTextIsOut = false;
        if (text && textLength && font) {
            if (textLength <= kMaxTextLength)
                request.overlayText = CopyText(reinterpret_cast<const wchar_t*>(text), textLength);
            if (!request.overlayText) return E_OUTOFMEMORY;
            request.overlayFont = reinterpret_cast<HFONT>(font);
            request.overlayExtra = static_cast<DWORD>(extra);
            request.overlayPosition = static_cast<DWORD>(position);
        }
    }
    if (fileName && !IsStillName(fileName)) return ERROR_INVALID_NAME;
    Signal(session->snapEvent.get());
    return S_OK;
}

HRESULT ImagerCamera::GetSnapshot(void* snapshot) {
    if (!snapshot) return E_POINTER;
    if (session->library.Status() != S_OK) return session->library.Status();
    *static_cast<void**>(snapshot) = session->library->currentImage(session->engineHandle);
    return S_OK;
}

// The preview thread ends first: it would go on working in a library that has been shut down.
HRESULT ImagerCamera::Shutdown() {
    EndPreviewThreads();
    if (session->library.Status() == S_OK) session->library->shutdown();
    return S_OK;
}

HRESULT ImagerCamera::GetState(int* state) {
    if (!state) return E_INVALIDARG;
    *state = static_cast<int>(session->progress.Locked()->state);
    return S_OK;
}

}  // namespace cam
