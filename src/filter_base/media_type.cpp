#include "filter_base/media_type.h"

#include <cstring>
#include <utility>

namespace cam::filter_base {

void FreeMediaType(AM_MEDIA_TYPE& type) {
    if (type.pbFormat) CoTaskMemFree(type.pbFormat);
    if (type.pUnk) type.pUnk->Release();
    type = AM_MEDIA_TYPE{};
}

void DeleteMediaType(AM_MEDIA_TYPE* type) {
    if (!type) return;
    FreeMediaType(*type);
    CoTaskMemFree(type);
}

HRESULT CopyMediaType(const AM_MEDIA_TYPE& type, AM_MEDIA_TYPE& out) {
    BYTE* format = nullptr;
    const bool hasFormat = type.cbFormat != 0 && type.pbFormat;
    if (hasFormat) {
        format = static_cast<BYTE*>(CoTaskMemAlloc(type.cbFormat));
        if (!format) {
            out = AM_MEDIA_TYPE{};
            return E_OUTOFMEMORY;
        }
        std::memcpy(format, type.pbFormat, type.cbFormat);
    }
    out = type;
    out.pbFormat = format;
    out.cbFormat = hasFormat ? type.cbFormat : 0;
    if (out.pUnk) out.pUnk->AddRef();
    return S_OK;
}

AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE& type) {
    auto* copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (!copy) return nullptr;
    if (FAILED(CopyMediaType(type, *copy))) {
        CoTaskMemFree(copy);
        return nullptr;
    }
    return copy;
}

namespace {
bool SameFormat(const AM_MEDIA_TYPE& type, const AM_MEDIA_TYPE& other) {
    if (!IsEqualGUID(type.formattype, other.formattype) || type.cbFormat != other.cbFormat) return false;
    if (type.cbFormat == 0) return true;
    return type.pbFormat && other.pbFormat && std::memcmp(type.pbFormat, other.pbFormat, type.cbFormat) == 0;
}
}  // namespace

bool SameMediaType(const AM_MEDIA_TYPE& type, const AM_MEDIA_TYPE& other) {
    return IsEqualGUID(type.majortype, other.majortype) && IsEqualGUID(type.subtype, other.subtype) &&
           SameFormat(type, other);
}

bool MatchesProposal(const AM_MEDIA_TYPE& type, const AM_MEDIA_TYPE& proposal) {
    const auto fits = [](const GUID& have, const GUID& want) {
        return IsEqualGUID(want, GUID_NULL) || IsEqualGUID(have, want);
    };
    if (!fits(type.majortype, proposal.majortype) || !fits(type.subtype, proposal.subtype)) return false;
    return IsEqualGUID(proposal.formattype, GUID_NULL) || SameFormat(type, proposal);
}

bool IsComplete(const AM_MEDIA_TYPE& type) {
    return !IsEqualGUID(type.majortype, GUID_NULL) && !IsEqualGUID(type.formattype, GUID_NULL);
}

MediaType& MediaType::operator=(MediaType&& other) noexcept {
    if (this == &other) return *this;
    reset();
    static_cast<AM_MEDIA_TYPE&>(*this) = other;
    other.Clear();
    return *this;
}

HRESULT MediaType::CopyFrom(const AM_MEDIA_TYPE& type) {
    MediaType copy;
    const HRESULT result = CopyMediaType(type, copy);
    if (SUCCEEDED(result)) *this = std::move(copy);
    return result;
}

BYTE* MediaType::AllocateFormat(ULONG size) {
    if (pbFormat) CoTaskMemFree(pbFormat);
    pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(size));
    cbFormat = pbFormat ? size : 0;
    if (pbFormat) std::memset(pbFormat, 0, size);
    return pbFormat;
}

}  // namespace cam::filter_base
