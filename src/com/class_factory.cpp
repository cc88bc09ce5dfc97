#include "com/class_factory.h"

#include <atomic>

#include "base/com_ptr.h"

namespace cam::com {

namespace {
std::atomic<LONG> serverLocks = 0;
}

LONG ServerLocks() {
    return serverLocks;
}

HRESULT STDMETHODCALLTYPE ClassFactory::CreateInstance(IUnknown* outer, REFIID id, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    // An outer object must hold the inner unknown: any other interface would lead back to itself.
    if (outer && id != __uuidof(IUnknown)) return E_NOINTERFACE;
    HRESULT result = E_OUTOFMEMORY;
    filter_base::ComObject* object = class_.create(outer, &result);
    if (!object) return result;
    // Destroys the object again when it lacks the interface.
    const ComPtr<IUnknown> keepAlive(object->Inner());
    return object->NonDelegatingQueryInterface(id, out);
}

HRESULT STDMETHODCALLTYPE ClassFactory::LockServer(BOOL lock) {
    if (lock) {
        ++serverLocks;
    } else {
        --serverLocks;
    }
    return S_OK;
}

}  // namespace cam::com
