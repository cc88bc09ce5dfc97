#include "dshow_camera/memory_property_bag.h"

#include <wchar.h>

#include <memory>
#include <new>
#include <utility>

#include "base/automation.h"
#include "filter_base/com_object.h"

namespace cam {
namespace {

class MemoryPropertyBag final : public filter_base::Implements<filter_base::ComObject, IPropertyBag> {
  public:
    MemoryPropertyBag() : Implements(nullptr) {}

    // IPropertyBag
    // A type in `value` asks for that type, VT_EMPTY for the one that was written.
    HRESULT STDMETHODCALLTYPE Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        if (!name || !value) return E_POINTER;
        Entry* entry = Find(name);
        if (!entry) return E_INVALIDARG;
        const VARTYPE wanted = value->vt;
        VariantInit(value);
        if (wanted == VT_EMPTY) return VariantCopy(value, &entry->value.get());
        return VariantChangeType(value, &entry->value.get(), 0, wanted);
    }
    HRESULT STDMETHODCALLTYPE Write(LPCOLESTR name, VARIANT* value) override {
        if (!name || !value) return E_POINTER;
        Entry* entry = Find(name);
        if (!entry) entry = Append(name);
        return entry ? VariantCopy(&entry->value.get(), value) : E_OUTOFMEMORY;
    }

  private:
    struct Entry {
        Bstr name;
        Variant value;
        std::unique_ptr<Entry> next;
    };

    Entry* Find(LPCOLESTR name) const {
        Entry* entry = first.get();
        while (entry && _wcsicmp(entry->name.get(), name) != 0) entry = entry->next.get();
        return entry;
    }
    Entry* Append(LPCOLESTR name) {
        std::unique_ptr<Entry> entry(new (std::nothrow) Entry);
        if (!entry) return nullptr;
        entry->name.reset(SysAllocString(name));
        if (!entry->name) return nullptr;
        entry->next = std::move(first);
        first = std::move(entry);
        return first.get();
    }

    std::unique_ptr<Entry> first;
};

}  // namespace

ComPtr<IPropertyBag> CreateMemoryPropertyBag() {
    return ComPtr<IPropertyBag>(new (std::nothrow) MemoryPropertyBag);
}

}  // namespace cam
