#include "filter_base/com_object.h"

namespace cam::filter_base {

namespace {
std::atomic<LONG> liveObjects = 0;
}

LONG LiveObjects() {
    return liveObjects;
}

ComObject::ComObject(IUnknown* outer) : outerUnknown(outer ? outer : &inner) {
    ++liveObjects;
}

ComObject::~ComObject() {
    --liveObjects;
}

HRESULT ComObject::NonDelegatingQueryInterface(REFIID id, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (id != __uuidof(IUnknown)) return E_NOINTERFACE;
    inner.AddRef();
    *out = &inner;
    return S_OK;
}

ULONG STDMETHODCALLTYPE ComObject::InnerUnknown::AddRef() {
    return static_cast<ULONG>(++object.references);
}

ULONG STDMETHODCALLTYPE ComObject::InnerUnknown::Release() {
    const LONG left = --object.references;
    if (left == 0) {
        // A destructor may hand out and take back references to the object; these must not destroy it again.
        ++object.references;
        delete &object;
    }
    return static_cast<ULONG>(left);
}

}  // namespace cam::filter_base
