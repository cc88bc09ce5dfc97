#include "api/current_camera.h"

#include <atomic>
#include <utility>

#include "api/camera_factory.h"
#include "base/hresult.h"

namespace cam {
namespace {

// Owning, and a plain pointer all the same: a camera that is left over when the library is unloaded must not
// be destroyed then, because its threads cannot end while the loader's lock is held.
CameraDevice* currentCamera = nullptr;
int selectedType = 0;

// Calls that have the camera in their hands, those of Init's own included.
std::atomic<LONG> uses = 0;
std::atomic<LONG> changes = 0;

void DiscardCamera() {
    delete std::exchange(currentCamera, nullptr);
}

// Where the camera announces its pictures.
HWND eventsWindow = nullptr;

// What a camera that is gone has announced waits in the queue no more, if it is this thread's.
void TakeAnnouncementsBack() {
    const HWND window = std::exchange(eventsWindow, nullptr);
    MSG message;
    while (window && PeekMessageW(&message, window, CAM_MESSAGE_STILL_CAPTURED, CAM_MESSAGE_STILL_CAPTURED,
                                  PM_REMOVE)) {
        if (message.message != WM_QUIT) continue;
        // It comes whatever is asked for.
        PostQuitMessage(static_cast<int>(message.wParam));
        return;
    }
}

// The right to take the camera away. Not to be had inside another call: that of a message which came in
// while the other one waits.
class CameraChange {
  public:
    CameraChange() : isMine(++changes == 1) {}
    ~CameraChange() { --changes; }
    CameraChange(const CameraChange&) = delete;
    CameraChange& operator=(const CameraChange&) = delete;

    explicit operator bool() const {
        return isMine && uses == 0 && (!currentCamera || currentCamera->CanEnd());
    }

  private:
    const bool isMine;
};

}  // namespace

CameraUse::CameraUse() : camera((++uses, currentCamera)) {}

CameraUse::~CameraUse() {
    --uses;
}

void NoteEventsWindow(HWND window) {
    eventsWindow = window;
}

int SelectedType() {
    return selectedType;
}

camResult SelectCamera(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection,
                       int cameraType) {
    const CameraChange change;
    if (!change) return kNotNow;
    DiscardCamera();
    selectedType = cameraType;
    currentCamera = CreateCamera(cameraType);
    if (!currentCamera) return camNotInitialised;
    // Init applies the persisted settings through the exported functions, which find the camera here already.
    const HRESULT result = currentCamera->Init(ownerWindow, settingsPath, settingsSection);
    return FAILED(result) ? result : camResult{camOk};
}

camResult ShutDownCamera() {
    if (!currentCamera) return camNotInitialised;
    const CameraChange change;
    if (!change) return camFailed;
    if (currentCamera->Shutdown() != 0) return camFailed;
    DiscardCamera();
    TakeAnnouncementsBack();
    return camOk;
}

}  // namespace cam
