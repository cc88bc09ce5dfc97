#include "kit.h"

#include "check.h"

namespace verify {

Kit kit;
ImagerKit imagerKit;

namespace {

template <typename Function>
bool Find(HMODULE module, const char* name, Function& function) {
    function =
        reinterpret_cast<Function>(reinterpret_cast<void*>(module ? GetProcAddress(module, name) : nullptr));
    return function != nullptr;
}

void Load(decltype(&kitLoadScenario) load, const std::wstring& scenario) {
    wchar_t error[300] = L"";
    if (load(scenario.c_str(), error, 300)) return;
    Failed("the device kit plays the scenario", Utf8(error), Utf8(scenario));
    throw Ended();
}

}  // namespace

std::string FindKit(const std::wstring& folder) {
    const HMODULE imager = LoadLibraryW((folder + L"Imvoxa.dll").c_str());
    imagerKit.there = Find(imager, "imvKitLoadScenario", imagerKit.loadScenario) &&
                      Find(imager, "imvKitCallCount", imagerKit.callCount) &&
                      Find(imager, "imvKitCallLog", imagerKit.callLog) &&
                      Find(imager, "imvKitOpenEngines", imagerKit.openEngines);
    if (!imagerKit.there && imager) FreeLibrary(imager);

    const HMODULE module = LoadLibraryW((folder + L"devicekit.dll").c_str());
    if (!module) return "devicekit.dll is not beside ocellus.dll";
    kit.there = Find(module, "kitLoadScenario", kit.loadScenario) && Find(module, "kitResume", kit.resume) &&
                Find(module, "kitLoseDevice", kit.loseDevice) &&
                Find(module, "kitCallCount", kit.callCount) && Find(module, "kitCallLog", kit.callLog) &&
                Find(module, "kitLiveObjects", kit.liveObjects) &&
                Find(module, "kitPreviewFrames", kit.previewFrames);
    return kit.there ? "" : "devicekit.dll is another version, without the functions of devicekit.h";
}

void ResetKit() {
    if (kit.there) Play(L"{}");
    if (imagerKit.there) PlayImager();
}

void Play(const std::wstring& scenario) {
    Load(kit.loadScenario, scenario);
}

void PlayImager(const std::wstring& member) {
    Load(imagerKit.loadScenario, L"{\"imager\": " + member + L"}");
}

std::wstring Failing(const std::string& call, const char* result, const char* more) {
    return Wide("{\"watchGraph\": true, \"calls\": {\"" + call + "\": {\"result\": \"" + result + "\", " +
                more + "}}}");
}

Lines ReadLines(DWORD(WINAPI* write)(wchar_t* buffer, DWORD length)) {
    std::wstring text(write(nullptr, 0), L'\0');
    write(text.data(), static_cast<DWORD>(text.size()));
    Lines lines;
    std::wstring line;
    for (const wchar_t unit : text) {
        if (unit != L'\n' && unit != L'\0') {
            line += unit;
        } else if (!line.empty()) {
            lines.push_back(Utf8(line));
            line.clear();
        }
    }
    return lines;
}

Lines Calls() {
    return ReadLines(kit.callLog);
}

Lines ImagerCalls() {
    return ReadLines(imagerKit.callLog);
}

LONG CountOf(const std::string& call) {
    return kit.callCount(Wide(call).c_str());
}

LONG ImagerCountOf(const std::string& operation) {
    return imagerKit.callCount(Wide(operation).c_str());
}

}  // namespace verify
