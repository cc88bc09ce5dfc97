// Compiled with the other calling convention, in which a 64-bit argument begins at an even register: what the
// wrong compiler option would do.
#include "adder.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
