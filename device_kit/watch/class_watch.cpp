#include "watch/class_watch.h"

#include <dshow.h>

#include <atomic>
#include <mutex>

#include "still/filter_interfaces.h"
#include "watch/call_names.h"
#include "watch/watched_object.h"

namespace kit::watch {
namespace {

struct WatchedClass {
    const CLSID& classId;
    const wchar_t* name;
};
const WatchedClass kWatchedClasses[] = {{CLSID_CaptureGraphBuilder, L"CaptureGraphBuilder"},
                                        {CLSID_CaptureGraphBuilder2, L"CaptureGraphBuilder"},
                                        {CLSID_FilterGraph, L"FilterGraph"},
                                        {CLSID_VideoRenderer, L"VideoRenderer"},
                                        {cam::kClsidSampleGrabber, L"SampleGrabber"},
                                        {cam::kClsidStillImageSink, L"StillImageSink"}};

// Born with a count of 1. It is none of the kit's live objects: it stays with COM for as long as the classes
// are watched.
class WatchedFactory final : public IClassFactory {
  public:
    WatchedFactory(cam::ComPtr<IClassFactory> watched, const wchar_t* className)
        : real(std::move(watched)), name(className) {}

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = iid == __uuidof(IUnknown) || iid == __uuidof(IClassFactory) ? this : nullptr;
        if (!*out) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references;
        if (left == 0) delete this;
        return left;
    }

    // IClassFactory
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        // What a graph creates for itself, and what becomes part of another object, is not the camera's.
        if (outer || RealAtWork::OnThisThread()) return real->CreateInstance(outer, iid, out);
        return Call(L"CoCreateInstance", name, [&] {
            const RealAtWork atWork;
            const HRESULT hr = real->CreateInstance(nullptr, iid, out);
            if (SUCCEEDED(hr)) *out = WatchedObject::Wrap(iid, *out, name);
            return hr;
        });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override { return real->LockServer(lock); }

  private:
    ~WatchedFactory() = default;

    std::atomic<ULONG> references = 1;
    const cam::ComPtr<IClassFactory> real;
    const wchar_t* const name;
};

std::mutex& TheLock() {
    static std::mutex* const lock = new std::mutex;
    return *lock;
}
std::vector<DWORD>& Cookies() {
    static auto* const cookies = new std::vector<DWORD>;
    return *cookies;
}

void Revoke() {
    for (const DWORD cookie : Cookies()) CoRevokeClassObject(cookie);
    Cookies().clear();
}

}  // namespace

HRESULT WatchClasses() {
    const std::lock_guard guard(TheLock());
    if (!Cookies().empty()) return S_OK;
    for (const WatchedClass& watched : kWatchedClasses) {
        // Asked for before it is replaced: the real class object.
        cam::ComPtr<IClassFactory> real;
        HRESULT hr = CoGetClassObject(watched.classId, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory),
                                      real.putVoid());
        if (hr == REGDB_E_CLASSNOTREG) continue;
        DWORD cookie = 0;
        if (SUCCEEDED(hr)) {
            cam::ComPtr<IClassFactory> factory;
            factory.attach(new WatchedFactory(std::move(real), watched.name));
            hr = CoRegisterClassObject(watched.classId, factory.get(), CLSCTX_INPROC_SERVER,
                                       REGCLS_MULTIPLEUSE, &cookie);
        }
        if (FAILED(hr)) {
            Revoke();
            return hr;
        }
        Cookies().push_back(cookie);
    }
    return S_OK;
}

void UnwatchClasses() {
    const std::lock_guard guard(TheLock());
    Revoke();
}

}  // namespace kit::watch

namespace kit {
namespace {

// Calls on the camera itself, which are seen without watching anything.
constexpr std::wstring_view kCameraCalls[] = {L"CoCreateInstance CaptureFilter",
                                              L"IBaseFilter::QueryInterface IPersistPropertyBag",
                                              L"IBaseFilter::QueryInterface IAMVideoControl",
                                              L"IBaseFilter::QueryInterface IAMVideoProcAmp",
                                              L"IBaseFilter::QueryInterface IAMCameraControl",
                                              L"IBaseFilter::Stop CaptureFilter",
                                              L"IBaseFilter::Pause CaptureFilter",
                                              L"IBaseFilter::Run CaptureFilter",
                                              L"CoCreateInstance Webcam",
                                              L"IBaseFilter::Stop Webcam",
                                              L"IBaseFilter::Pause Webcam",
                                              L"IBaseFilter::Run Webcam",
                                              L"IPersistPropertyBag::Load",
                                              L"IAMVideoControl::SetMode",
                                              L"IAMVideoProcAmp::GetRange",
                                              L"IAMVideoProcAmp::Get",
                                              L"IAMVideoProcAmp::Set",
                                              L"IAMCameraControl::GetRange",
                                              L"IAMCameraControl::Get",
                                              L"IAMCameraControl::Set",
                                              L"IPin::Connect",
                                              L"IPin::Disconnect",
                                              L"IPin::EnumMediaTypes",
                                              L"IKsPropertySet::Get",
                                              L"IAMStreamConfig::SetFormat",
                                              L"IAMStreamConfig::GetFormat",
                                              L"IAMStreamConfig::GetNumberOfCapabilities",
                                              L"IAMStreamConfig::GetStreamCaps"};

// Whether `call` is `known`, perhaps with an argument after it.
bool Names(std::wstring_view call, std::wstring_view known) {
    return call.substr(0, known.size()) == known &&
           (call.size() == known.size() || call[known.size()] == L' ');
}

bool IsCameraCall(std::wstring_view call) {
    for (const std::wstring_view known : kCameraCalls) {
        if (Names(call, known)) return true;
    }
    return false;
}

}  // namespace

bool IsGraphCall(std::wstring_view call) {
    if (IsCameraCall(call)) return false;
    if (Names(call, L"CoCreateInstance")) return true;
    for (const watch::InterfaceTable& table : watch::AllTables()) {
        for (const std::wstring& known : table.calls) {
            if (Names(call, known)) return true;
        }
    }
    return false;
}

bool IsKnownCall(std::wstring_view call) {
    return IsCameraCall(call) || IsGraphCall(call);
}

}  // namespace kit
