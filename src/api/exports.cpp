// The exported functions: check the arguments, forward to one operation of the current camera, turn its
// result into a camResult. The order of the checks is part of the interface. The contract of each stands in
// ocellus/cam.h.
#include <ocellus/cam.h>

#include "api/current_camera.h"
#include "base/picture_format.h"
#include "config/camera_profiles.h"

namespace {

using cam::CameraUse;

constexpr char kRevision[] = OCELLUS_VERSION;  // given by the build

constexpr int kFirstProperty = 0;
constexpr int kFirstPropertyOfB = 9;  // the "B" operations serve this id and those above
constexpr int kLastMode = 2;

// Any result but 0 is a failure to these functions, positive ones too.
constexpr camResult OkOr(camResult failure, HRESULT result) {
    return result == 0 ? camResult{camOk} : failure;
}

constexpr bool IsProperty(int id) {
    return id >= kFirstProperty && id <= CAM_PROPERTY_LAST;
}
constexpr bool BelongsToA(int id) {
    return id < kFirstPropertyOfB;
}

}  // namespace

extern "C" {

// ---- Life of the camera --------------------------------------------------------------------------

camResult WINAPI camGetDllRevision(wchar_t* revision) {
    if (!revision) return camInvalidArgument;
    wsprintfW(revision, L"%hs", kRevision);
    return camOk;
}

camResult WINAPI camInit(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection) {
    return camSelect(ownerWindow, settingsPath, settingsSection, CAM_TYPE_DSHOW);
}

camResult WINAPI camSelect(HWND ownerWindow, const wchar_t* settingsPath, const wchar_t* settingsSection,
                           int cameraType) {
    return cam::SelectCamera(ownerWindow, settingsPath, settingsSection, cameraType);
}

camResult WINAPI camGetSelectedType(int* cameraType) {
    *cameraType = cam::SelectedType();
    return camOk;
}

camResult WINAPI camShutDown(void) {
    return cam::ShutDownCamera();
}

camResult WINAPI camStartPreview(void) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    return OkOr(camFailed, camera->StartPreview());
}

camResult WINAPI camStopPreview(void) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    return OkOr(camFailed, camera->StopPreview());
}

camResult WINAPI camSetEventsWindow(HWND eventsWindow) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (!eventsWindow) return camInvalidArgument;
    camera->SetEventsWindow(eventsWindow);
    cam::NoteEventsWindow(eventsWindow);
    return camOk;
}

camResult WINAPI camGetState(int* state) {
    if (!state) return camInvalidArgument;
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    int current = CAM_STATE_NONE;
    if (camera->GetState(&current) != 0) return camFailed;
    *state = current;
    return camOk;
}

// ---- Properties --------------------------------------------------------------------------

camResult WINAPI camGetPropertyRange(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                     long* flags) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (!IsProperty(id)) return camInvalidArgument;
    if (!minimum || !maximum || !step || !defaultValue || !flags) return camInvalidArgument;
    return OkOr(camInvalidArgument,
                BelongsToA(id) ? camera->GetPropertyRangeA(id, minimum, maximum, step, defaultValue, flags)
                               : camera->GetPropertyRangeB(id, minimum, maximum, step, defaultValue, flags));
}

camResult WINAPI camGetProperty(int id, long* value, long* flags) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (!value || !flags) return camInvalidArgument;
    if (!IsProperty(id) && id != CAM_PROPERTY_CAMERA_ID) return camInvalidArgument;
    return OkOr(camInvalidArgument, BelongsToA(id) ? camera->GetPropertyA(id, value, flags)
                                                   : camera->GetPropertyB(id, value, flags));
}

camResult WINAPI camSetProperty(int id, long value, long flags) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (!IsProperty(id)) return camInvalidArgument;
    return OkOr(camInvalidArgument, BelongsToA(id) ? camera->SetPropertyA(id, value, flags)
                                                   : camera->SetPropertyB(id, value, flags));
}

camResult WINAPI camGetCameraID(long* cameraId) {
    if (!cameraId) return camInvalidArgument;
    long flags = 0;
    return camGetProperty(CAM_PROPERTY_CAMERA_ID, cameraId, &flags);
}

// ---- Still resolutions --------------------------------------------------------------------------

camResult WINAPI camGetResolutionCount(int* count) {
    if (!count) return camInvalidArgument;
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    *count = camera->GetResolutionCount();
    return camOk;
}

camResult WINAPI camGetResolutionDimensions(long* height, long* width, int index) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (!height || !width) return camInvalidArgument;
    return OkOr(camInvalidArgument, camera->GetResolutionDimensions(height, width, index));
}

camResult WINAPI camSetResolution(int index) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    return OkOr(camInvalidArgument, camera->SetResolution(index));
}

// ---- Still pictures --------------------------------------------------------------------------

camResult WINAPI camSnapPicture(const wchar_t* fileName, int mode) {
    return camSnapPictureWithText(fileName, mode, 0, 0, 0, 0, 0);
}

camResult WINAPI camSnapPictureWithText(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length,
                                        UINT_PTR position, UINT_PTR color, UINT_PTR font) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    if (mode < 0 || mode > kLastMode) return camInvalidArgument;
    if (fileName && cam::PictureFormatOf(fileName) == cam::PictureFormat::None) return camInvalidArgument;
    return OkOr(camCaptureFailed, camera->SnapPicture(fileName, mode, text, length, position, color, font));
}

camResult WINAPI camGetSnapshot(void* snapshot) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    return OkOr(camInvalidArgument, camera->GetSnapshot(snapshot));
}

// ---- Callbacks --------------------------------------------------------------------------

camResult WINAPI camRegisterPreviewCallback(camFrameCallback callback) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    camera->RegisterPreviewCallback(callback);
    return camOk;
}

camResult WINAPI camRegisterStillImageCallback(camFrameCallback callback) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    camera->RegisterStillImageCallback(callback);
    return camOk;
}

camResult WINAPI camRegisterMediaTypeCallback(camMediaTypeCallback callback) {
    const CameraUse camera;
    if (!camera) return camNotInitialised;
    camera->RegisterMediaTypeCallback(callback);
    return camOk;
}

// ---- Profiles --------------------------------------------------------------------------

camResult WINAPI camGetProfiles(const wchar_t* path, void* profiles) {
    cam::config::GetProfiles(path, static_cast<wchar_t***>(profiles));
    return camOk;
}

}  // extern "C"
