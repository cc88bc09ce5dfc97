// What the kit writes into the registry besides its classes.
#pragma once

#include <windows.h>

namespace kit {

// The colour converter with the filter mapper, and the default scenario's device as active.
HRESULT RegisterBesides();
// Takes both away again, also what a scenario recorded since.
void UnregisterBesides();

}  // namespace kit
