// Compiled with the other calling convention, in which a 64-bit argument begins at an even register: what the wrong compiler option would do.
#include <windows.h>

#include <unknwn.h>

struct IAdder : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Add(LONGLONG first, LONGLONG second, double factor, LONGLONG* sum) = 0;
};

extern "C" {

LONGLONG WINAPI CallAdder(IAdder* adder) {
    LONGLONG out = 0;
    adder->Add(0x100000001LL, 0x0000000200000002LL, 2.0, &out);
    return out;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}
