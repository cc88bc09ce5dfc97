// The module as a COM server.
#pragma once

#include <windows.h>

namespace cam::com {

// The library's own module; null until it has been attached.
HINSTANCE ModuleInstance();

// What the module does when a process loads it (DLL_PROCESS_ATTACH) or lets it go (DLL_PROCESS_DETACH); other
// reasons do nothing.
void ServeModule(HINSTANCE module, DWORD reason);

}  // namespace cam::com
