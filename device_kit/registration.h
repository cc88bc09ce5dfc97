// What the kit writes into the registry when it is registered.
#pragma once

#include <windows.h>

namespace kit {

extern HMODULE theModule;  // this DLL

// The two filter classes, the colour converter with the filter mapper, and the default scenario's device as active.
HRESULT Register();
// Takes all of that away again, also what a scenario recorded since.
HRESULT Unregister();

}  // namespace kit
