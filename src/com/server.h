// A DLL as a COM server: what its entry points do, each with the DLL's own table of classes.
#pragma once

#include "com/com_class.h"

namespace cam::com {

// The DLL's own module; null until it has been attached.
HINSTANCE ModuleInstance();

// What the module does when a process loads it (DLL_PROCESS_ATTACH) or lets it go (DLL_PROCESS_DETACH); other
// reasons do nothing.
void ServeModule(HINSTANCE module, DWORD reason);

// The classes in the registry, under the module's own path.
HRESULT RegisterServer(ClassTable classes);
HRESULT UnregisterServer(ClassTable classes);

// S_OK: neither an object nor a lock keeps the module in memory. Else S_FALSE.
HRESULT CanUnloadServer();

// The factory of a class in the table.
HRESULT GetClassObject(ClassTable classes, REFCLSID id, REFIID interfaceId, void** out);

}  // namespace cam::com
