// The table as a DLL's export: read in the emulator.
#include "layouts.h"

extern "C" {

const cam::Layout* WINAPI layoutTable(int* count) {
    *count = static_cast<int>(sizeof cam::kLayouts / sizeof cam::kLayouts[0]);
    return cam::kLayouts;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}
