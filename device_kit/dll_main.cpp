// The entry points of devicekit.dll as an in-process COM server.
#include <windows.h>

#include <new>

#include "capture_filter.h"
#include "color_converter.h"
#include "com/server.h"
#include "devicekit.h"
#include "kit.h"
#include "registration.h"
#include "webcam/webcam_filter.h"

namespace kit {
namespace {

cam::filter_base::ComObject* CreateCaptureFilter(IUnknown*, HRESULT* result) {
    *result = PrepareScenario();
    if (FAILED(*result)) return nullptr;
    CaptureFilter* filter = nullptr;
    try {
        *result = Call(L"CoCreateInstance", L"CaptureFilter", [&] {
            filter = new CaptureFilter(CurrentScenario());
            return S_OK;
        });
    } catch (const std::bad_alloc&) {
        *result = E_OUTOFMEMORY;
    }
    return filter;
}

cam::filter_base::ComObject* CreateWebcam(IUnknown*, HRESULT* result) {
    *result = PrepareScenario();
    if (FAILED(*result)) return nullptr;
    WebcamFilter* filter = nullptr;
    try {
        *result = Call(L"CoCreateInstance", L"Webcam", [&] {
            filter = new WebcamFilter(CurrentScenario());
            return S_OK;
        });
    } catch (const std::bad_alloc&) {
        *result = E_OUTOFMEMORY;
    }
    return filter;
}

cam::filter_base::ComObject* CreateColorConverter(IUnknown*, HRESULT* result) {
    ColorConverter* const filter = new (std::nothrow) ColorConverter;
    if (!filter) *result = E_OUTOFMEMORY;
    return filter;
}

const cam::com::ComClass kClasses[] = {
    {kClsidCaptureFilter, L"Device Kit Camera", cam::com::kBothThreadingModels, false, CreateCaptureFilter},
    {kClsidColorConverter, kConverterName, cam::com::kBothThreadingModels, false, CreateColorConverter},
    {kClsidWebcam, L"Device Kit Webcam", cam::com::kBothThreadingModels, false, CreateWebcam},
};

}  // namespace
}  // namespace kit

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    cam::com::ServeModule(module, reason);
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
    return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** out) {
    return cam::com::GetClassObject(kit::kClasses, classId, iid, out);
}

HRESULT WINAPI DllCanUnloadNow() {
    return kitLiveObjects() == 0 ? cam::com::CanUnloadServer() : S_FALSE;
}

HRESULT WINAPI DllRegisterServer() {
    const HRESULT hr = cam::com::RegisterServer(kit::kClasses);
    return SUCCEEDED(hr) ? kit::RegisterBesides() : hr;
}

// regsvr32 /i:webcam (and /u /i:webcam): the kit among the desktop's webcams.
HRESULT WINAPI DllInstall(BOOL install, const wchar_t* what) {
    if (!what || _wcsicmp(what, L"webcam") != 0) return E_INVALIDARG;
    return kit::RecordWebcams(install ? kit::UsualWebcams() : std::vector<kit::WebcamEntry>());
}

// Takes away what it can; a failure of one step does not keep the others.
HRESULT WINAPI DllUnregisterServer() {
    kit::UnregisterBesides();
    return cam::com::UnregisterServer(kit::kClasses);
}
}
