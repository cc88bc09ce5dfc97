// Stand-ins for system objects, through which a camera's calls on them are seen, delayed and made to fail.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/com_ptr.h"
#include "kit.h"

namespace kit::watch {

class WatchedObject;

// One interface of a watched object as clients hold it: a COM interface pointer points here, and finds the
// table of functions.
struct Facet {
    void* const* functions;
    void* real;  // the interface of the real object, referenced
    WatchedObject* object;
    const wchar_t* interfaceName;
};

// What the kit knows of an interface: a complete table of functions that forward each call to the real object
// after it has been judged.
struct InterfaceTable {
    const IID* iid;
    const wchar_t* name;
    std::vector<void*> functions;     // IUnknown's three first
    std::vector<std::wstring> calls;  // "Interface::Method" of each function
};

// The table of an interface; null: not watched.
const InterfaceTable* FindTable(REFIID iid);
const std::vector<InterfaceTable>& AllTables();
// The name of an interface, class category or media type that cameras use; empty: not known.
std::wstring_view NameOf(REFGUID guid);

// Stands for one real object: all its watched interfaces share one count and one identity.
class WatchedObject {
  public:
    // For a real interface with a reference, which is taken over: the watched one instead, or the same when
    // the interface is not watched. `name` is that of the object's class, noted with calls on filters.
    static void* Wrap(REFIID iid, void* realInterface, const wchar_t* name);
    // The watched interface when the real object is watched already (the reference is passed on), else the
    // same pointer.
    static void* WrapIfKnown(REFIID iid, void* realInterface);
    // The real interface behind a pointer, without a reference; the pointer itself when it is no watched one.
    static void* Unwrap(void* pointer);

    const std::wstring& Name() const { return name; }

    // IUnknown of every facet
    HRESULT QueryInterface(Facet* facet, REFIID iid, void** out);
    ULONG AddRef();
    ULONG Release();

  private:
    WatchedObject(cam::ComPtr<IUnknown> realObject, const wchar_t* className)
        : identity(std::move(realObject)), name(className) {}
    ~WatchedObject();
    static void* WrapLocked(const InterfaceTable& table, cam::ComPtr<IUnknown> realInterface,
                            const wchar_t* name, bool onlyKnown);
    Facet* FacetFor(const InterfaceTable& table, cam::ComPtr<IUnknown> realInterface);

    ULONG references = 0;  // under the lock of all watched objects
    cam::ComPtr<IUnknown> identity;
    std::wstring name;
    std::vector<std::unique_ptr<Facet>> facets;
    LiveObject live;
};

// While one of these lives on a thread, a real object is at work on it: what that creates is its own affair
// and not watched.
class RealAtWork {
  public:
    RealAtWork() { ++depth; }
    ~RealAtWork() { --depth; }
    static bool OnThisThread() { return depth > 0; }

  private:
    static inline thread_local int depth = 0;
};

}  // namespace kit::watch
