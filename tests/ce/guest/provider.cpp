// Provides one function by ordinal and one by name.
#include <windows.h>

extern "C" {

int WINAPI provideSquare(int value) {
    return value * value;
}

const wchar_t* WINAPI provideName() {
    return L"provider";
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}
