#include "api/current_camera.h"

#include <utility>

#include "api/camera_factory.h"

namespace cam {
namespace {

// Owning, and a plain pointer all the same: a camera that is left over when the library is unloaded must not
// be destroyed then, because its threads cannot end while the loader's lock is held.
CameraDevice* currentCamera = nullptr;
int selectedType = 0;

void DiscardCamera() {
    delete std::exchange(currentCamera, nullptr);
}

}  // namespace

CameraDevice* CurrentCamera() {
    return currentCamera;
}

int SelectedType() {
    return selectedType;
}

camResult SelectCamera(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection,
                       int cameraType) {
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
    if (currentCamera->Shutdown() != 0) return camFailed;
    DiscardCamera();
    return camOk;
}

}  // namespace cam
