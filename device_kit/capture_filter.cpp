#include "capture_filter.h"

#include <uuids.h>
#include <vfwmsgs.h>

#include "base/automation.h"
#include "text.h"

namespace kit {
namespace {

constexpr wchar_t kArgument[] = L"CaptureFilter";
constexpr wchar_t kNameProperty[] = L"VCapName";

struct NamedInterface {
    const IID& iid;
    const wchar_t* name;
};

}  // namespace

CaptureFilter::CaptureFilter(std::shared_ptr<const Scenario> played)
    : CameraFilter(L"Video Capture", nullptr, kClsidCaptureFilter),
      scenario(std::move(played)),
      properties(scenario->properties),
      preview(*this, CapturePin::Role::Preview, L"Preview", scenario->preview),
      capture(*this, CapturePin::Role::Capture, L"Capture", scenario->preview),
      still(*this, CapturePin::Role::Still, L"Still", scenario->stillFormats[scenario->stillFormat]) {}

PropertyTable CaptureFilter::Properties() const {
    const std::lock_guard guard(propertyLock);
    return properties;
}

HRESULT CaptureFilter::NonDelegatingQueryInterface(REFIID iid, void** out) {
    // The graph asks for many interfaces on its own account; the camera's are those that say how it is used.
    static const NamedInterface seen[] = {{__uuidof(IPersistPropertyBag), L"IPersistPropertyBag"},
                                          {__uuidof(IAMVideoControl), L"IAMVideoControl"},
                                          {__uuidof(IAMVideoProcAmp), L"IAMVideoProcAmp"},
                                          {__uuidof(IAMCameraControl), L"IAMCameraControl"}};
    if (!out) return E_POINTER;
    *out = nullptr;
    for (const NamedInterface& entry : seen) {
        if (entry.iid != iid) continue;
        return DeviceCall(L"IBaseFilter::QueryInterface", entry.name,
                          [&] { return CameraFilter::NonDelegatingQueryInterface(iid, out); });
    }
    return CameraFilter::NonDelegatingQueryInterface(iid, out);
}

// ---- IMediaFilter -----------------------------------------------------------------------------------------

// A lost camera stops as well; it only says that it is lost.
HRESULT CaptureFilter::Stop() {
    return Call(L"IBaseFilter::Stop", kArgument, [&] {
        const HRESULT hr = Filter::Stop();
        return IsLost() ? kDeviceGone : hr;
    });
}

HRESULT CaptureFilter::Pause() {
    return CameraCall(L"IBaseFilter::Pause", kArgument, [&] {
        const HRESULT hr = Filter::Pause();
        for (CapturePin* pin : pins) pin->Hold();
        return hr;
    });
}

HRESULT CaptureFilter::Run(REFERENCE_TIME start) {
    return CameraCall(L"IBaseFilter::Run", kArgument, [&] { return Filter::Run(start); });
}

// ---- IPersistPropertyBag ----------------------------------------------------------------------------------

HRESULT CaptureFilter::Load(IPropertyBag* bag, IErrorLog* errors) {
    cam::Variant name;
    HRESULT hr = bag ? bag->Read(kNameProperty, name.put(), errors) : E_POINTER;
    if (SUCCEEDED(hr) && !name.text()) hr = E_INVALIDARG;
    const std::wstring device = SUCCEEDED(hr) ? name.text() : L"";
    return DeviceCall(L"IPersistPropertyBag::Load", device,
                      [&] { return SUCCEEDED(hr) ? OpenDevice(device) : hr; });
}

HRESULT CaptureFilter::OpenDevice(const std::wstring& name) {
    for (const Device& device : scenario->devices) {
        if (Widen(device.name) != name) continue;
        for (CapturePin* pin : pins) {
            const HRESULT hr = pin->OpenScene();
            if (FAILED(hr)) return hr;
        }
        const cam::LockGuard guard(StateLock());
        deviceName = name;
        cameraId = device.cameraId;
        return S_OK;
    }
    return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
}

HRESULT CaptureFilter::Save(IPropertyBag* bag, BOOL, BOOL) {
    if (!bag) return E_POINTER;
    const cam::LockGuard guard(StateLock());
    cam::Variant name(deviceName.c_str());
    return bag->Write(kNameProperty, &name.get());
}

// ---- IAMVideoControl --------------------------------------------------------------------------------------

HRESULT CaptureFilter::SetMode(IPin* pin, LONG mode) {
    return CameraCall(L"IAMVideoControl::SetMode", std::to_wstring(mode),
                      [&] { return CameraFilter::SetMode(pin, mode); });
}

}  // namespace kit
