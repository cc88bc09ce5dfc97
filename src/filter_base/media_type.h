// A media type that owns its format block.
#pragma once

#include "base/unique_resource.h"
#include "filter_base/direct_show.h"

namespace cam::filter_base {

// Frees the format block and the object of a media type that somebody handed out, and leaves it empty.
void FreeMediaType(AM_MEDIA_TYPE& type);

// The same for a media type that was itself allocated with CoTaskMemAlloc; null does nothing.
void DeleteMediaType(AM_MEDIA_TYPE* type);
using UniqueMediaType = UniqueResource<AM_MEDIA_TYPE*, DeleteMediaType>;

// A deep copy into `out`, which must hold nothing. E_OUTOFMEMORY leaves it empty.
HRESULT CopyMediaType(const AM_MEDIA_TYPE& type, AM_MEDIA_TYPE& out);

// A deep copy for DeleteMediaType to free; null when there is no memory.
AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE& type);

// Same major type, subtype, format type and format block.
bool SameMediaType(const AM_MEDIA_TYPE& type, const AM_MEDIA_TYPE& other);

// Whether `type` fits a proposal that may leave major type, subtype or format open (GUID_NULL).
bool MatchesProposal(const AM_MEDIA_TYPE& type, const AM_MEDIA_TYPE& proposal);

// A media type without an open part is taken or refused as it stands; any other is only a proposal.
bool IsComplete(const AM_MEDIA_TYPE& type);

// Can be given to anything that fills in an AM_MEDIA_TYPE: put() empties it first.
class MediaType : public AM_MEDIA_TYPE {
  public:
    MediaType() : AM_MEDIA_TYPE{} {}
    ~MediaType() { reset(); }
    MediaType(MediaType&& other) noexcept : AM_MEDIA_TYPE(other) { other.Clear(); }
    MediaType& operator=(MediaType&& other) noexcept;
    // A copy needs memory and can fail: CopyFrom.
    MediaType(const MediaType&) = delete;
    MediaType& operator=(const MediaType&) = delete;

    // Replaces the type by a deep copy of another. E_OUTOFMEMORY leaves it as it was.
    HRESULT CopyFrom(const AM_MEDIA_TYPE& type);
    void reset() { FreeMediaType(*this); }
    AM_MEDIA_TYPE* put() {
        reset();
        return this;
    }
    // Nothing has been set, or all of it is open.
    bool empty() const { return IsEqualGUID(majortype, GUID_NULL); }

    // A new format block of `size` bytes, all 0; null when there is no memory, and the type then has no
    // block.
    BYTE* AllocateFormat(ULONG size);

  private:
    void Clear() { static_cast<AM_MEDIA_TYPE&>(*this) = AM_MEDIA_TYPE{}; }
};

}  // namespace cam::filter_base
