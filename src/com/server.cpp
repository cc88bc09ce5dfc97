// The entry points that COM and the registration tool look for.
#include "com/server.h"

#include <new>

#include "base/com_ptr.h"
#include "base/hresult.h"
#include "com/class_factory.h"
#include "com/registration.h"

namespace cam::com {

namespace {
HINSTANCE moduleInstance = nullptr;
}

HINSTANCE ModuleInstance() {
    return moduleInstance;
}

void ServeModule(HINSTANCE module, DWORD reason) {
    // Threads come and go unnoticed here but not for the C++ run time, which cleans up after each: leave its
    // notices on.
    if (reason == DLL_PROCESS_ATTACH) moduleInstance = module;
}

}  // namespace cam::com

using namespace cam;

STDAPI DllRegisterServer() {
    // What does not fit is no path: a cut one must not be registered.
    wchar_t path[MAX_PATH + 1] = {};
    const DWORD length = GetModuleFileNameW(com::ModuleInstance(), path, MAX_PATH);
    if (length == 0) return HresultFromLastError();
    if (length >= MAX_PATH) return HresultFromError(ERROR_FILENAME_EXCED_RANGE);
    return com::RegisterClasses(HKEY_CLASSES_ROOT, path, com::Classes());
}

STDAPI DllUnregisterServer() {
    return com::UnregisterClasses(HKEY_CLASSES_ROOT, com::Classes());
}

STDAPI DllCanUnloadNow() {
    return filter_base::LiveObjects() == 0 && com::ServerLocks() == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID id, REFIID interfaceId, LPVOID* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const com::ComClass* entry = com::FindClass(id);
    if (!entry) return CLASS_E_CLASSNOTAVAILABLE;
    auto* factory = new (std::nothrow) com::ClassFactory(*entry);
    if (!factory) return E_OUTOFMEMORY;
    // Destroys the factory again when it lacks the interface.
    const ComPtr<IUnknown> keepAlive(factory->Inner());
    return factory->NonDelegatingQueryInterface(interfaceId, out);
}
