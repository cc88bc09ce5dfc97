#include "filter_base/pin.h"

#include <cstring>
#include <cwchar>

#include "filter_base/copy_name.h"
#include "filter_base/enumerator.h"

namespace cam::filter_base {

namespace {
// What a pin's enumerator goes through.
struct TypesOfPin {
    using Owner = Pin;
    using OwnerInterface = IPin;
    using Interface = IEnumMediaTypes;
    using Item = AM_MEDIA_TYPE*;  // freed with DeleteMediaType

    static LONG Version(Pin& pin) { return pin.MediaTypeVersion(); }
    static bool Has(Pin& pin, int position) {
        MediaType type;
        return pin.GetMediaType(position, type) == S_OK;
    }
    static Item Get(Pin& pin, int position) {
        MediaType type;
        return pin.GetMediaType(position, type) == S_OK ? CreateMediaType(type) : nullptr;
    }
};
}  // namespace

HRESULT PinUnknown::NonDelegatingQueryInterface(REFIID, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOINTERFACE;
}

Pin::Pin(Filter& filter, PIN_DIRECTION direction, const wchar_t* name, const wchar_t* id)
    : Implements(filter), pinName(name), pinId(id), pinDirection(direction) {}

HRESULT Pin::NonDelegatingQueryInterface(REFIID id, void** out) {
    return Implements::NonDelegatingQueryInterface(id == __uuidof(IUnknown) ? __uuidof(IPin) : id, out);
}

HRESULT Pin::CopyType(MediaType& out) {
    const LockGuard lock(typeLock);
    return out.CopyFrom(connectionType);
}

bool Pin::HasType(const AM_MEDIA_TYPE& type) {
    const LockGuard lock(typeLock);
    return SameMediaType(type, connectionType);
}

HRESULT Pin::SetMediaType(const AM_MEDIA_TYPE& type) {
    const LockGuard lock(typeLock);
    return connectionType.CopyFrom(type);
}

HRESULT Pin::GetMediaType(int, MediaType&) {
    return VFW_S_NO_MORE_ITEMS;
}

HRESULT Pin::CheckConnect(IPin* peer) {
    PIN_DIRECTION other;
    const HRESULT result = peer->QueryDirection(&other);
    if (FAILED(result)) return result;
    return other == pinDirection ? VFW_E_INVALID_DIRECTION : S_OK;
}

HRESULT Pin::CompleteConnect(IPin*) {
    return S_OK;
}

void Pin::DropConnection() {
    BreakConnect();
    connectedPin.reset();
    const LockGuard lock(typeLock);
    connectionType.reset();
}

HRESULT STDMETHODCALLTYPE Pin::Connect(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE Pin::ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE Pin::Disconnect() {
    const LockGuard lock(ownerFilter.StateLock());
    if (!ownerFilter.IsStopped()) return VFW_E_NOT_STOPPED;
    if (!IsConnected()) return S_FALSE;
    DropConnection();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Pin::ConnectedTo(IPin** peer) {
    if (!peer) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    *peer = ComPtr<IPin>(connectedPin).detach();
    return *peer ? S_OK : VFW_E_NOT_CONNECTED;
}

HRESULT STDMETHODCALLTYPE Pin::ConnectionMediaType(AM_MEDIA_TYPE* type) {
    if (!type) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    *type = AM_MEDIA_TYPE{};
    if (!IsConnected()) return VFW_E_NOT_CONNECTED;
    const LockGuard guard(typeLock);
    return CopyMediaType(connectionType, *type);
}

HRESULT STDMETHODCALLTYPE Pin::QueryPinInfo(PIN_INFO* info) {
    if (!info) return E_POINTER;
    info->pFilter = &ownerFilter;
    info->pFilter->AddRef();
    info->dir = pinDirection;
    CopyName(pinName, info->achName);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Pin::QueryDirection(PIN_DIRECTION* direction) {
    if (!direction) return E_POINTER;
    *direction = pinDirection;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Pin::QueryId(LPWSTR* id) {
    if (!id) return E_POINTER;
    const size_t bytes = (std::wcslen(pinId) + 1) * sizeof(wchar_t);
    *id = static_cast<wchar_t*>(CoTaskMemAlloc(bytes));
    if (!*id) return E_OUTOFMEMORY;
    std::memcpy(*id, pinId, bytes);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Pin::QueryAccept(const AM_MEDIA_TYPE* type) {
    if (!type) return E_POINTER;
    return CheckMediaType(*type) == S_OK ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE Pin::EnumMediaTypes(IEnumMediaTypes** out) {
    if (!out) return E_POINTER;
    *out = Enumerator<TypesOfPin>::Create(*this, 0);
    return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE Pin::QueryInternalConnections(IPin** pins, ULONG* count) {
    if (!count || (!pins && *count != 0)) return E_POINTER;
    const ULONG room = *count;
    ULONG found = 0;
    for (int i = 0; i < ownerFilter.PinCount(); ++i) {
        if (ownerFilter.PinAt(i)->Direction() != pinDirection) ++found;
    }
    *count = found;
    if (found > room) return S_FALSE;
    if (!pins) return S_OK;
    for (int i = 0; i < ownerFilter.PinCount(); ++i) {
        Pin* pin = ownerFilter.PinAt(i);
        if (pin->Direction() == pinDirection) continue;
        pin->AddRef();
        *pins++ = pin;
    }
    return S_OK;
}

// Streaming calls go to input pins only.
HRESULT STDMETHODCALLTYPE Pin::EndOfStream() {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE Pin::BeginFlush() {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE Pin::EndFlush() {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE Pin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Pin::Notify(IBaseFilter*, Quality) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE Pin::SetSink(IQualityControl* sink) {
    const LockGuard lock(ownerFilter.StateLock());
    qualitySink = sink;
    return S_OK;
}

}  // namespace cam::filter_base
