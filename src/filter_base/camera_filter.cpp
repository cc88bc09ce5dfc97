#include "filter_base/camera_filter.h"

#include "filter_base/pin.h"

namespace cam::filter_base {

HRESULT CameraFilter::NonDelegatingQueryInterface(REFIID id, void** out) {
    if (!out) return E_POINTER;
    if (id == __uuidof(IAMVideoProcAmp)) {
        *out = &VideoProcAmp();
    } else if (id == __uuidof(IAMCameraControl)) {
        *out = &CameraControl();
    } else {
        return Implements::NonDelegatingQueryInterface(id, out);
    }
    AddRef();
    return S_OK;
}

// A live source has no frame to show while it is paused; one that nobody is connected to has none to wait
// for.
HRESULT STDMETHODCALLTYPE CameraFilter::GetState(DWORD timeoutMs, FILTER_STATE* state) {
    const HRESULT result = Filter::GetState(timeoutMs, state);
    if (result != S_OK || *state != State_Paused) return result;
    for (int i = 0; i < PinCount(); ++i) {
        if (PinAt(i)->IsConnected()) return VFW_S_CANT_CUE;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraFilter::Save(IPropertyBag*, BOOL, BOOL) {
    return E_NOTIMPL;
}

// ---- IAMVideoControl ------------------------------------------------------------------------------------

bool CameraFilter::IsTriggered(IPin* pin) {
    Pin* const triggered = TriggeredPin();
    return triggered && pin == static_cast<IPin*>(triggered);
}

HRESULT STDMETHODCALLTYPE CameraFilter::GetCaps(IPin* pin, LONG* flags) {
    if (!pin || !flags) return E_POINTER;
    *flags = IsTriggered(pin) ? VideoControlFlag_Trigger : 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraFilter::SetMode(IPin* pin, LONG mode) {
    if (!pin) return E_POINTER;
    if (!IsTriggered(pin) || (mode != VideoControlFlag_Trigger && mode != 0)) return E_INVALIDARG;
    return mode == 0 ? S_OK : TriggerStill();
}

HRESULT STDMETHODCALLTYPE CameraFilter::GetMode(IPin* pin, LONG* mode) {
    if (!pin || !mode) return E_POINTER;
    *mode = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraFilter::GetCurrentActualFrameRate(IPin* pin, LONGLONG* frameTime) {
    return GetMaxAvailableFrameRate(pin, 0, {}, frameTime);
}

HRESULT STDMETHODCALLTYPE CameraFilter::GetMaxAvailableFrameRate(IPin* pin, LONG, SIZE, LONGLONG* frameTime) {
    if (!pin || !frameTime) return E_POINTER;
    const LockGuard lock(StateLock());
    *frameTime = FrameTime();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CameraFilter::GetFrameRateList(IPin*, LONG, SIZE, LONG*, LONGLONG**) {
    return E_NOTIMPL;
}

}  // namespace cam::filter_base
