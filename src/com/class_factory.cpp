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
    if (outer && !class_.canBePart) return CLASS_E_NOAGGREGATION;
    // An outer object must hold the inner unknown: any other interface would lead back to itself.
    if (outer && id != __uuidof(IUnknown)) return E_NOINTERFACE;
    HRESULT made = S_OK;
    filter_base::ComObject* object = class_.create(outer, &made);
    if (!object) return FAILED(made) ? made : E_OUTOFMEMORY;
    // Destroys the object again when it lacks the interface.
    const ComPtr<IUnknown> keepAlive(object->Inner());
    const HRESULT result = object->NonDelegatingQueryInterface(id, out);
    return SUCCEEDED(result) ? made : result;
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
