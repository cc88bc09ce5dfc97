// In place of scenario.cpp and desktop_output.cpp on a device, which has no JSON reader, no environment and
// no imaging component.
#include "picture_output.h"
#include "scenario.h"

namespace imvoxa {

bool ReadScenario(const std::wstring&, Scenario&, std::wstring& error) {
    error = L"a device reads no scenarios; call imvKitAnswerNext";
    return false;
}

bool ReadEnvironment(std::optional<Scenario>&) {
    return true;
}

DWORD SaveJpeg(const GreyPicture&, const wchar_t*, LONG) {
    return ERROR_NOT_SUPPORTED;
}

DWORD SavePng(const GreyPicture&, const wchar_t*) {
    return ERROR_NOT_SUPPORTED;
}

void StretchByDroppingPixels(HDC) {}

}  // namespace imvoxa

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
