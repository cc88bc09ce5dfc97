#include "webcam/webcam_filter.h"

namespace kit {

namespace {
constexpr wchar_t kArgument[] = L"Webcam";
}

WebcamFilter::WebcamFilter(std::shared_ptr<const Scenario> played)
    : WebcamFilterBase(L"Webcam", nullptr, kClsidWebcam),
      scenario(std::move(played)),
      properties(scenario->properties) {}

// A webcam that is gone stops without a word.
HRESULT WebcamFilter::Stop() {
    return Call(L"IBaseFilter::Stop", kArgument, [&] { return Filter::Stop(); });
}

HRESULT WebcamFilter::Pause() {
    return CameraCall(L"IBaseFilter::Pause", kArgument, [&] {
        const HRESULT hr = Filter::Pause();
        for (WebcamPin* const pin : pins) pin->Hold();
        return hr;
    });
}

HRESULT WebcamFilter::Run(REFERENCE_TIME start) {
    return CameraCall(L"IBaseFilter::Run", kArgument, [&] { return Filter::Run(start); });
}

HRESULT WebcamFilter::Load(IPropertyBag*, IErrorLog*) {
    return CameraCall(L"IPersistPropertyBag::Load", kArgument, [&] {
        const HRESULT hr = capture.OpenScene();
        return SUCCEEDED(hr) ? still.OpenScene() : hr;
    });
}

HRESULT WebcamFilter::SetMode(IPin* pin, LONG mode) {
    return CameraCall(L"IAMVideoControl::SetMode", kArgument,
                      [&] { return CameraFilter::SetMode(pin, mode); });
}

}  // namespace kit
