// Properties go straight to the capture filter's control interfaces, on the caller; values and results are
// the driver's.

#include "dshow_camera/dshow_camera.h"

namespace cam {
namespace {

// The ids of the "A" family are the numbers of the video processing set; -1, the camera's identifier, is
// passed on as it is.
constexpr long VideoProcessingNumber(int id) {
    return id;
}

// The "B" family begins at this id.
constexpr int kFirstCameraControl = 9;
constexpr long CameraControlNumber(int id) {
    return id - kFirstCameraControl;
}

// E_FAIL for a camera that has no capture filter, because it could not be brought up.
template <typename Interface>
HRESULT Ask(const ComPtr<IBaseFilter>& captureFilter, ComPtr<Interface>& out) {
    return captureFilter ? captureFilter.QueryTo(out) : E_FAIL;
}

template <typename Interface>
HRESULT GetRange(const ComPtr<IBaseFilter>& captureFilter, long number, long* minimum, long* maximum,
                 long* step, long* defaultValue, long* flags) {
    if (!minimum || !maximum || !step || !defaultValue || !flags) return E_POINTER;
    ComPtr<Interface> control;
    const HRESULT result = Ask(captureFilter, control);
    return FAILED(result) ? result : control->GetRange(number, minimum, maximum, step, defaultValue, flags);
}

template <typename Interface>
HRESULT Get(const ComPtr<IBaseFilter>& captureFilter, long number, long* value, long* flags) {
    if (!value || !flags) return E_POINTER;
    ComPtr<Interface> control;
    const HRESULT result = Ask(captureFilter, control);
    return FAILED(result) ? result : control->Get(number, value, flags);
}

template <typename Interface>
HRESULT Set(const ComPtr<IBaseFilter>& captureFilter, long number, long value, long flags) {
    ComPtr<Interface> control;
    const HRESULT result = Ask(captureFilter, control);
    return FAILED(result) ? result : control->Set(number, value, flags);
}

}  // namespace

HRESULT DShowCamera::GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                       long* flags) {
    return GetRange<IAMVideoProcAmp>(worker.Filters().Capture(), VideoProcessingNumber(id), minimum, maximum,
                                     step, defaultValue, flags);
}

HRESULT DShowCamera::GetPropertyA(int id, long* value, long* flags) {
    return Get<IAMVideoProcAmp>(worker.Filters().Capture(), VideoProcessingNumber(id), value, flags);
}

HRESULT DShowCamera::SetPropertyA(int id, long value, long flags) {
    return Set<IAMVideoProcAmp>(worker.Filters().Capture(), VideoProcessingNumber(id), value, flags);
}

HRESULT DShowCamera::GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                       long* flags) {
    return GetRange<IAMCameraControl>(worker.Filters().Capture(), CameraControlNumber(id), minimum, maximum,
                                      step, defaultValue, flags);
}

HRESULT DShowCamera::GetPropertyB(int id, long* value, long* flags) {
    return Get<IAMCameraControl>(worker.Filters().Capture(), CameraControlNumber(id), value, flags);
}

HRESULT DShowCamera::SetPropertyB(int id, long value, long flags) {
    return Set<IAMCameraControl>(worker.Filters().Capture(), CameraControlNumber(id), value, flags);
}

}  // namespace cam
