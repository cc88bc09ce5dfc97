#include "webcam/webcam_filter.h"

#include <uuids.h>
#include <vfwmsgs.h>

namespace kit {

namespace {
constexpr wchar_t kArgument[] = L"Webcam";
}

WebcamFilter::WebcamFilter(std::shared_ptr<const Scenario> played)
    : WebcamFilterBase(L"Webcam", nullptr, kClsidWebcam),
      scenario(std::move(played)),
      properties(scenario->properties) {}

HRESULT WebcamFilter::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    if (iid == __uuidof(IAMVideoProcAmp)) {
        *out = static_cast<IAMVideoProcAmp*>(&videoProcAmp);
    } else if (iid == __uuidof(IAMCameraControl)) {
        *out = static_cast<IAMCameraControl*>(&cameraControl);
    } else {
        return WebcamFilterBase::NonDelegatingQueryInterface(iid, out);
    }
    AddRef();
    return S_OK;
}

// A webcam that is gone stops without a word.
HRESULT WebcamFilter::Stop() {
    return Call(L"IBaseFilter::Stop", kArgument, [&] { return Filter::Stop(); });
}

HRESULT WebcamFilter::Pause() {
    return CameraCall(L"IBaseFilter::Pause", kArgument, [&] {
        const HRESULT hr = Filter::Pause();
        pin.Hold();
        return hr;
    });
}

HRESULT WebcamFilter::Run(REFERENCE_TIME start) {
    return CameraCall(L"IBaseFilter::Run", kArgument, [&] { return Filter::Run(start); });
}

// A live source has no frame to show while it is paused.
HRESULT WebcamFilter::GetState(DWORD timeoutMs, FILTER_STATE* out) {
    const HRESULT hr = Filter::GetState(timeoutMs, out);
    return hr == S_OK && *out == State_Paused ? VFW_S_CANT_CUE : hr;
}

HRESULT WebcamFilter::Load(IPropertyBag*, IErrorLog*) {
    return CameraCall(L"IPersistPropertyBag::Load", kArgument, [&] { return pin.OpenScene(); });
}

}  // namespace kit
