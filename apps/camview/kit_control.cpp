#include "kit_control.h"

#include "model/texts.h"

namespace camview {

namespace {

constexpr wchar_t kServerKey[] = L"CLSID\\{F80B6E95-B55A-4619-AEC4-A10EAEDE980C}\\InprocServer32";
constexpr wchar_t kImagerLibrary[] = L"Imvoxa.dll";
constexpr DWORD kMaxError = 500;

template <typename Function>
bool Find(HMODULE module, const char* name, Function& function) {
    function =
        reinterpret_cast<Function>(reinterpret_cast<void*>(module ? GetProcAddress(module, name) : nullptr));
    return function != nullptr;
}

std::wstring RegisteredPath() {
    wchar_t path[MAX_PATH] = L"";
    DWORD bytes = sizeof path;
    if (RegGetValueW(HKEY_CLASSES_ROOT, kServerKey, nullptr, RRF_RT_REG_SZ, nullptr, path, &bytes) !=
        ERROR_SUCCESS)
        return L"";
    return GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES ? L"" : path;
}

std::wstring ReadText(DWORD(WINAPI* write)(wchar_t*, DWORD)) {
    std::wstring text(write(nullptr, 0), L'\0');
    write(text.data(), static_cast<DWORD>(text.size()));
    while (!text.empty() && text.back() == L'\0') text.pop_back();
    return text;
}

}  // namespace

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring file = path;
    return file.substr(0, file.find_last_of(L'\\') + 1);
}

HRESULT KitControl::Load() {
    if (IsLoaded()) return S_OK;
    const std::wstring registered = RegisteredPath();
    const HMODULE module =
        LoadLibraryW((registered.empty() ? ProgramFolder() + L"devicekit.dll" : registered).c_str());
    if (!module) return HRESULT_FROM_WIN32(GetLastError());
    HRESULT(WINAPI * registerServer)() = nullptr;
    if (registered.empty() && Find(module, "DllRegisterServer", registerServer)) {
        if (const HRESULT result = registerServer(); FAILED(result)) {
            FreeLibrary(module);
            return result;
        }
    }
    const bool complete =
        Find(module, "kitAnswerNext", answerNext) && Find(module, "kitResume", resume) &&
        Find(module, "kitLoseDevice", loseDevice) && Find(module, "kitLiveObjects", liveObjects) &&
        Find(module, "kitPreviewFrames", previewFrames) && Find(module, "kitStillPictures", stillPictures) &&
        Find(module, "kitCallLog", callLog) && Find(module, "kitLoadScenario", loadScenario);
    isLoaded = complete;
    return complete ? S_OK : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
}

std::wstring KitControl::PlayScenario(const std::wstring& scenario) {
    wchar_t error[kMaxError] = L"";
    return loadScenario(scenario.c_str(), error, kMaxError) ? L"" : error;
}

// The library beside the program is the one that ocellus.dll loads.
std::wstring KitControl::PlayImagerScenario(const std::wstring& scenario) {
    decltype(&imvKitLoadScenario) load = nullptr;
    const HMODULE module = LoadLibraryW((ProgramFolder() + kImagerLibrary).c_str());
    if (!Find(module, "imvKitLoadScenario", load)) return L"";
    wchar_t error[kMaxError] = L"";
    return load(scenario.c_str(), error, kMaxError) ? L"" : error;
}

// Whoever opened the camera: the kit is in this process then.
bool KitControl::IsTheCamera() {
    if (!IsLoaded() && (!GetModuleHandleW(L"devicekit.dll") || FAILED(Load()))) return false;
    return liveObjects() > 0;
}

bool KitControl::IsTheImager() {
    decltype(&imvKitLoadScenario) load = nullptr;
    return Find(GetModuleHandleW(kImagerLibrary), "imvKitLoadScenario", load);
}

void KitControl::FailNextTrigger(bool ofImager) const {
    decltype(&imvKitAnswerNext) imagerNext = nullptr;
    if (!ofImager)
        answerNext(L"IAMVideoControl::SetMode", E_FAIL);
    else if (Find(GetModuleHandleW(kImagerLibrary), "imvKitAnswerNext", imagerNext))
        imagerNext(L"Acquire 2", static_cast<DWORD>(E_FAIL));
}

std::wstring KitControl::Counts() const {
    return Say(Text::KitCounts, {SayCount(Text::Frame, Text::Frames, previewFrames()),
                                 SayCount(Text::Still, Text::Stills, stillPictures()),
                                 SayCount(Text::LiveObject, Text::LiveObjects, liveObjects())});
}

std::wstring KitControl::CallLog(bool ofImager) const {
    decltype(&imvKitCallLog) imagerLog = nullptr;
    if (!ofImager) return ReadText(callLog);
    return Find(GetModuleHandleW(kImagerLibrary), "imvKitCallLog", imagerLog) ? ReadText(imagerLog) : L"";
}

}  // namespace camview
