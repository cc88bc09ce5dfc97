#include "imager_camera/preview_thread.h"

#include <memory>
#include <utility>

#include "base/com_ptr.h"
#include "base/copy_text.h"
#include "base/picture_format.h"
#include "base/thread_role.h"
#include "base/unique_resource.h"
#include "imager_camera/imager_session.h"

namespace cam {
namespace {

constexpr DWORD kPassWaitMs = 40;

constexpr DWORD kAcquirePreview = 3;  // also a still at resolution 0
constexpr DWORD kAcquireStill = 2;    // a still at resolution 1

// The library's text positions by those of the public interface, 0 to 10.
constexpr DWORD kCentre = 6;
constexpr DWORD kLibraryPositions[] = {0, 4, 1, kCentre, kCentre, kCentre, kCentre, kCentre, 3, 5, 2};

constexpr DWORD kStampOperation = 0x00660046;
static_assert(kStampOperation == SRCINVERT, "text inverts the picture below it");

// Every still is saved as BMP, whatever the extension of its name: applications of this camera read the
// files as such. The library's JPEG and PNG operations stand behind this switch, and as long as it is off
// the JPEG quality has no effect.
constexpr bool kSaveByExtension = false;

DWORD LibraryPosition(DWORD position) {
    return position < ARRAYSIZE(kLibraryPositions) ? kLibraryPositions[position] : kCentre;
}

// A window's device context, kept for the thread's life.
class WindowContext {
  public:
    WindowContext() = default;
    WindowContext(const WindowContext&) = delete;
    WindowContext& operator=(const WindowContext&) = delete;
    ~WindowContext() {
        if (context) ReleaseDC(window, context);
    }

    bool Open(HWND of) {
        window = of;
        context = GetDC(of);
        return context != nullptr;
    }
    HDC get() const { return context; }

  private:
    HWND window = nullptr;
    HDC context = nullptr;
};

LONG TextHeight(HFONT font) {
    TEXTMETRICW metrics = {};
    const UniqueMemoryDc context(CreateCompatibleDC(nullptr));
    const HGDIOBJ previous = SelectObject(context.get(), font);
    GetTextMetricsW(context.get(), &metrics);
    SelectObject(context.get(), previous);
    return metrics.tmHeight;
}

// One run of the thread. *Worker* only.
class PreviewRun {
  public:
    explicit PreviewRun(ImagerSession& shared) : session(shared), library(shared.library) {}

    void Run() CAM_REQUIRES(kWorkerThread) {
        CheckThread(kWorkerThread);
        if (Start() && PassUntilEnd()) Stop();
    }

  private:
    struct SaveOrder {
        bool wanted;
        std::unique_ptr<wchar_t[]> file;  // null: there is no memory for it
        LONG jpegQuality;
    };

    bool Start();
    bool PassUntilEnd();
    void Stop();
    bool TakeStill();
    void Stamp();
    SaveOrder WhatToSave();
    bool Save();
    bool ShowFrame();
    void Deliver(camFrameCallback callback);
    bool CutOff() const { return session.ending == Ending::CutOff; }

    ImagerSession& session;
    const ImagerLibrary& library;
    HANDLE engine = nullptr;
    WindowContext drawing;
    RECT target = {};
};

// False: the thread ends, and what has been opened so far stays open in the library.
bool PreviewRun::Start() {
    engine = library->openEngine();
    session.engineHandle = engine;
    if (!engine || CutOff()) return false;
    if (library->start() != 0 || CutOff()) return false;
    const HWND window = session.previewWindow;
    return !window || (GetClientRect(window, &target) && drawing.Open(window));
}

// False: a still failed, and the thread ends with the engine left open. That is how an application finds
// the preview stopped after a failed still; the next preview opens another engine.
bool PreviewRun::PassUntilEnd() {
    const HANDLE wanted[] = {session.stopEvent.get(), session.snapEvent.get()};
    bool running = true;
    while (running && session.ending == Ending::None) {
        switch (WaitForMultipleObjects(ARRAYSIZE(wanted), wanted, FALSE, kPassWaitMs)) {
            case WAIT_OBJECT_0:
                running = false;  // after one more frame
                break;
            case WAIT_OBJECT_0 + 1:
                if (!TakeStill()) return false;
                break;
            default:
                break;
        }
        if (!ShowFrame()) break;
    }
    return true;
}

// The engine's handle stays in the session: the current image can still be asked for.
void PreviewRun::Stop() {
    if (!CutOff()) library->stop();
    if (!CutOff()) library->closeEngine(engine);
}

bool PreviewRun::ShowFrame() {
    const ImagerStatus status = library->acquire(engine, kAcquirePreview);
    if (CutOff()) return false;
    if (status != 0) {
        session.Notify(ImagerNotice::PreviewFailed, L"Start preview failed.");
        return false;
    }
    Deliver(session.previewCallback);
    if (session.previewWindow && drawing.get() && !CutOff())
        library->draw(engine, drawing.get(), &target, 1, 10, 1);
    return true;
}

bool PreviewRun::TakeStill() {
    const ImagerStatus status =
        library->acquire(engine, session.resolutionIndex ? kAcquireStill : kAcquirePreview);
    if (CutOff()) return false;
    if (status != 0) {
        session.Notify(ImagerNotice::StillFailed, L"Capturing a still image failed");
        return false;
    }
    Stamp();
    Deliver(session.stillCallback);
    if (CutOff() || !Save()) return false;

    const auto progress = session.progress.Locked();
    if (CutOff()) return false;
    session.Notify(ImagerNotice::StillCaptured, L"File captured.");
    progress->state = CameraState::Previewing;
    return true;
}

// The text is out of the session meanwhile and the lock open: a library that hangs must not keep the
// application from asking for the state or from ending the camera. The text goes back for a still that was
// asked for while this one was acquired, unless that came with another text since.
void PreviewRun::Stamp() {
    std::unique_ptr<wchar_t[]> text;
    DWORD position = 0;
    HFONT font = nullptr;
    {
        const auto progress = session.progress.Locked();
        StillRequest& request = progress->request;
        text = std::move(request.overlayText);
        if (!text) return;
        request.overlayTextIsOut = true;
        position = request.overlayPosition;
        font = request.overlayFont;
    }
    library->stampText(engine, text.get(), LibraryPosition(position), TextHeight(font), kStampOperation);
    const auto progress = session.progress.Locked();
    if (!progress->request.overlayTextIsOut) return;
    progress->request.overlayText = std::move(text);
    progress->request.overlayTextIsOut = false;
}

PreviewRun::SaveOrder PreviewRun::WhatToSave() {
    const auto progress = session.progress.Locked();
    const StillRequest& request = progress->request;
    const wchar_t* const name = request.fileName.get();
    return {name != nullptr, name ? CopyText(name, wcslen(name)) : nullptr, request.jpegQuality};
}

bool PreviewRun::Save() {
    const SaveOrder order = WhatToSave();
    if (!order.wanted) return true;
    const wchar_t* failure = L"Saving BMP still image failed";
    ImagerStatus status = 0;
    const wchar_t* const file = order.file.get();
    const PictureFormat format = file && kSaveByExtension ? PictureFormatOf(file) : PictureFormat::Bmp;
    if (!file) {
        status = E_OUTOFMEMORY;
    } else if (format == PictureFormat::Jpeg) {
        failure = L"Saving JPG still image failed";
        status = library->saveJpeg(engine, file, order.jpegQuality);
    } else if (format == PictureFormat::Png) {
        failure = L"Saving PNG still image failed";
        status = library->savePng(engine, file);
    } else {
        status = library->saveBmp(engine, file);
    }
    if (status != 0) session.Notify(ImagerNotice::StillFailed, failure);
    return status == 0;
}

void PreviewRun::Deliver(camFrameCallback callback) {
    if (!callback || CutOff()) return;
    const LONG first = library->firstDimension(engine);
    if (CutOff()) return;
    const LONG second = library->secondDimension(engine);
    if (CutOff()) return;
    const DWORD size = static_cast<DWORD>(first) * static_cast<DWORD>(second);
    void* const pixels = library->pixels(engine);
    if (!CutOff()) callback(pixels, size, second, first, static_cast<DWORD>(first));
}

}  // namespace

DWORD WINAPI ImagerPreviewThread(void* parameter) {
    if (!parameter) return 0;
    const ThreadRoleScope role(kWorkerThread);
    ComPtr<ImagerSession> session;
    session.attach(static_cast<ImagerSession*>(parameter));
    PreviewRun(*session.get()).Run();
    session->CountThreadOut();
    return 0;
}

}  // namespace cam
