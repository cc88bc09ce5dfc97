#include "com/server.h"

#include <algorithm>
#include <new>

#include "base/com_ptr.h"
#include "base/hresult.h"
#include "com/class_factory.h"
#include "com/registration.h"
#include "platform/platform.h"

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
    if (reason != DLL_PROCESS_ATTACH) return;
    moduleInstance = module;
    platform::SetLibraryModule(module);
}

HRESULT RegisterServer(ClassTable classes) {
    // What does not fit is no path: a cut one must not be registered.
    wchar_t path[MAX_PATH + 1] = {};
    const DWORD length = GetModuleFileNameW(moduleInstance, path, MAX_PATH);
    if (length == 0) return HresultFromLastError();
    if (length >= MAX_PATH) return HresultFromError(ERROR_FILENAME_EXCED_RANGE);
    return RegisterClasses(HKEY_CLASSES_ROOT, path, classes);
}

HRESULT UnregisterServer(ClassTable classes) {
    return UnregisterClasses(HKEY_CLASSES_ROOT, classes);
}

HRESULT CanUnloadServer() {
    return filter_base::LiveObjects() == 0 && ServerLocks() == 0 ? S_OK : S_FALSE;
}

HRESULT GetClassObject(ClassTable classes, REFCLSID id, REFIID interfaceId, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const auto entry =
        std::find_if(classes.begin(), classes.end(), [&](const ComClass& c) { return c.id == id; });
    if (entry == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
    auto* factory = new (std::nothrow) ClassFactory(*entry);
    if (!factory) return E_OUTOFMEMORY;
    // Destroys the factory again when it lacks the interface.
    const ComPtr<IUnknown> keepAlive(factory->Inner());
    return factory->NonDelegatingQueryInterface(interfaceId, out);
}

}  // namespace cam::com
