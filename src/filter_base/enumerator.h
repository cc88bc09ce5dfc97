// DirectShow's enumerators: a filter's pins, a pin's media types.
#pragma once

#include <new>

#include "base/com_ptr.h"
#include "filter_base/com_object.h"

namespace cam::filter_base {

// Goes through what an owner has and keeps the owner alive. When the owner's list changes, everything but
// Reset answers VFW_E_ENUM_OUT_OF_SYNC until Reset.
//
// `List` says of what: Owner and one interface of it, the Interface offered, the Item that Next hands out;
// Version(owner); whether it Has an item at a position; and Get, the item with whatever its receiver owns,
// null behind the last or when there is no memory.
template <typename List>
class Enumerator final : public Implements<ComObject, typename List::Interface> {
  public:
    using Owner = typename List::Owner;
    using Item = typename List::Item;
    using Interface = typename List::Interface;

    // With one reference for the caller; null when there is no memory.
    static Interface* Create(Owner& owner, int position) {
        auto* enumerator = new (std::nothrow) Enumerator(owner, position);
        if (enumerator) enumerator->AddRef();
        return enumerator;
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Item* items, ULONG* fetched) override {
        if (!items) return E_POINTER;
        if (!fetched && wanted > 1) return E_INVALIDARG;
        if (fetched) *fetched = 0;
        if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
        ULONG count = 0;
        for (; count < wanted; ++count, ++current) {
            const Item item = List::Get(listOwner, current);
            if (!item) break;
            items[count] = item;
        }
        if (fetched) *fetched = count;
        return count == wanted ? S_OK : S_FALSE;
    }

    // Stays where it is when there are not so many left.
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
        int position = current;
        for (; count > 0; --count, ++position) {
            if (!List::Has(listOwner, position)) return S_FALSE;
        }
        current = position;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Reset() override {
        version = List::Version(listOwner);
        current = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(Interface** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (IsOutOfStep()) return VFW_E_ENUM_OUT_OF_SYNC;
        *out = Create(listOwner, current);
        return *out ? S_OK : E_OUTOFMEMORY;
    }

  private:
    Enumerator(Owner& owner, int position)
        : Implements<ComObject, Interface>(nullptr),
          listOwner(owner),
          keepAlive(&owner),
          version(List::Version(owner)),
          current(position) {}

    bool IsOutOfStep() const { return version != List::Version(listOwner); }

    Owner& listOwner;
    const ComPtr<typename List::OwnerInterface> keepAlive;
    LONG version;
    int current;
};

}  // namespace cam::filter_base
