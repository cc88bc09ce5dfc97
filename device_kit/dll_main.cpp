// The entry points of devicekit.dll as an in-process COM server.
#include <windows.h>

#include <uuids.h>

#include "capture_filter.h"
#include "class_factory.h"
#include "color_converter.h"
#include "devicekit.h"
#include "kit.h"
#include "registration.h"

namespace kit {

HMODULE theModule = nullptr;

namespace {

std::atomic<LONG> serverLocks = 0;

HRESULT CreateCaptureFilter(REFIID iid, void** out) {
    HRESULT hr = PrepareScenario();
    if (FAILED(hr)) return hr;
    return Call(L"CoCreateInstance", L"CaptureFilter", [&] {
        const cam::ComPtr<IUnknown> filter((new CaptureFilter(CurrentScenario()))->Inner());
        return filter->QueryInterface(iid, out);
    });
}

HRESULT CreateColorConverter(REFIID iid, void** out) {
    const cam::ComPtr<IUnknown> filter((new ColorConverter)->Inner());
    return filter->QueryInterface(iid, out);
}

using Creator = HRESULT (*)(REFIID iid, void** out);

class ClassFactory final : public ClassFactoryBase {
  public:
    explicit ClassFactory(Creator creator) : creator_(creator) {}

    // IClassFactory
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        try {
            return creator_(iid, out);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        serverLocks += lock ? 1 : -1;
        return S_OK;
    }

  private:
    const Creator creator_;
};

}  // namespace
}  // namespace kit

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        kit::theModule = module;
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const kit::Creator creator = classId == kit::kClsidCaptureFilter    ? kit::CreateCaptureFilter
                                 : classId == kit::kClsidColorConverter ? kit::CreateColorConverter
                                                                        : nullptr;
    if (!creator) return CLASS_E_CLASSNOTAVAILABLE;
    cam::ComPtr<IClassFactory> factory;
    factory.attach(new kit::ClassFactory(creator));
    return factory->QueryInterface(iid, out);
}

HRESULT WINAPI DllCanUnloadNow() {
    return kit::serverLocks == 0 && kitLiveObjects() == 0 ? S_OK : S_FALSE;
}

HRESULT WINAPI DllRegisterServer() {
    return kit::Register();
}
HRESULT WINAPI DllUnregisterServer() {
    return kit::Unregister();
}
}
