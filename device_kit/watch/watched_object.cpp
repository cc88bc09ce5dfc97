#include "watch/watched_object.h"

#include <map>
#include <mutex>
#include <set>

namespace kit::watch {
namespace {

// Everything that is watched in this process. Nothing is called on a real object while the lock is held, save
// AddRef and QueryInterface of its own.
struct Registry {
    std::recursive_mutex lock;
    std::map<IUnknown*, WatchedObject*> objects;  // by the real object's identity
    std::set<void*> facets;
};

Registry& TheRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

}  // namespace

void* WatchedObject::Unwrap(void* pointer) {
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    return registry.facets.count(pointer) ? static_cast<Facet*>(pointer)->real : pointer;
}

void* WatchedObject::Wrap(REFIID iid, void* realInterface, const wchar_t* name) {
    const InterfaceTable* table = FindTable(iid);
    if (!table || !realInterface) return realInterface;
    cam::ComPtr<IUnknown> owned;
    owned.attach(static_cast<IUnknown*>(realInterface));
    return WrapLocked(*table, std::move(owned), name, false);
}

void* WatchedObject::WrapIfKnown(REFIID iid, void* realInterface) {
    const InterfaceTable* table = FindTable(iid);
    if (!table || !realInterface) return realInterface;
    cam::ComPtr<IUnknown> owned;
    owned.attach(static_cast<IUnknown*>(realInterface));
    return WrapLocked(*table, std::move(owned), L"", true);
}

void* WatchedObject::WrapLocked(const InterfaceTable& table, cam::ComPtr<IUnknown> realInterface,
                                const wchar_t* name, bool onlyKnown) {
    cam::ComPtr<IUnknown> identity;
    if (FAILED(realInterface.QueryTo(identity))) return realInterface.detach();
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    const auto found = registry.objects.find(identity.get());
    WatchedObject* object = found == registry.objects.end() ? nullptr : found->second;
    if (!object) {
        if (onlyKnown) return realInterface.detach();
        IUnknown* const key = identity.get();
        object = new WatchedObject(std::move(identity), name);
        registry.objects[key] = object;
    }
    Facet* const facet = object->FacetFor(table, std::move(realInterface));
    ++object->references;
    return facet;
}

Facet* WatchedObject::FacetFor(const InterfaceTable& table, cam::ComPtr<IUnknown> realInterface) {
    for (const auto& facet : facets) {
        if (facet->functions == table.functions.data()) return facet.get();
    }
    facets.push_back(
        std::make_unique<Facet>(Facet{table.functions.data(), realInterface.detach(), this, table.name}));
    TheRegistry().facets.insert(facets.back().get());
    return facets.back().get();
}

// Outside of the registry's lock: the last release of a graph stops it and waits for its threads.
WatchedObject::~WatchedObject() {
    for (const auto& facet : facets) static_cast<IUnknown*>(facet->real)->Release();
}

ULONG WatchedObject::AddRef() {
    const std::lock_guard guard(TheRegistry().lock);
    return ++references;
}

ULONG WatchedObject::Release() {
    Registry& registry = TheRegistry();
    {
        const std::lock_guard guard(registry.lock);
        const ULONG left = --references;
        if (left > 0) return left;
        registry.objects.erase(identity.get());
        for (const auto& facet : facets) registry.facets.erase(facet.get());
    }
    const RealAtWork atWork;
    delete this;
    return 0;
}

HRESULT WatchedObject::QueryInterface(Facet* facet, REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const auto query = [&] {
        const RealAtWork atWork;
        const HRESULT hr = static_cast<IUnknown*>(facet->real)->QueryInterface(iid, out);
        if (SUCCEEDED(hr)) *out = Wrap(iid, *out, name.c_str());
        return hr;
    };
    return Call(std::wstring(facet->interfaceName) + L"::QueryInterface", NameOf(iid), query);
}

}  // namespace kit::watch
