// In place of scenario.cpp, read_scenario.cpp and desktop_output.cpp on a device, which has no JSON reader,
// no environment and no imaging component. The emulated device's devicekit.dll reads scenarios for it.
#include "picture_output.h"
#include "scenario.h"
#include "text.h"

namespace imvoxa {
namespace {

// What the kit says of the scenario; one that begins with "!" is what is wrong. Empty: there is no kit.
std::wstring AskKit(const wchar_t* scenario) {
    using KitImagerScenario = DWORD(WINAPI*)(const wchar_t* scenario, wchar_t* buffer, DWORD length);
    const HMODULE kit = LoadLibraryW(L"devicekit.dll");
    const FARPROC found = kit ? GetProcAddress(kit, "kitImagerScenario") : nullptr;
    const auto ask = reinterpret_cast<KitImagerScenario>(reinterpret_cast<void*>(found));
    if (!ask) return {};
    std::wstring text(ask(scenario, nullptr, 0), L'\0');
    ask(scenario, text.data(), static_cast<DWORD>(text.size()));
    text.pop_back();
    return text;
}

// The text up to the end mark, which is taken away with it.
std::string Take(std::string& text, char end) {
    const std::size_t size = text.find(end);
    const std::string taken = text.substr(0, size);
    text.erase(0, size == std::string::npos ? size : size + 1);
    return taken;
}

std::uint32_t TakeNumber(std::string& text) {
    std::uint32_t number = 0;
    for (const char digit : Take(text, ' ')) number = number * 10 + static_cast<std::uint32_t>(digit - '0');
    return number;
}

// The scene's line, then one "at times result delayMs call" for each rule, where "-" is no result.
Scenario Read(std::string text) {
    Scenario scenario;
    scenario.scene = Take(text, '\n') == "page" ? Scene::Page : Scene::Barcode;
    while (!text.empty()) {
        std::string line = Take(text, '\n');
        kit::CallRule rule;
        rule.at = static_cast<long>(TakeNumber(line));
        rule.times = static_cast<long>(TakeNumber(line));
        const bool hasResult = line[0] != '-';
        const std::uint32_t result = TakeNumber(line);
        if (hasResult) rule.result = result;
        rule.delayMs = TakeNumber(line);
        rule.call = line;
        scenario.calls.push_back(std::move(rule));
    }
    return scenario;
}

}  // namespace

bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error) {
    const std::wstring text = AskKit(pathOrText.c_str());
    if (text.empty() || text[0] == L'!') {
        error = text.empty() ? L"a device reads no scenarios; call imvKitAnswerNext" : text.substr(1);
        return false;
    }
    scenario = Read(kit::Narrow(text));
    return true;
}

// The scenario that the emulated device was started with.
bool ReadEnvironment(std::optional<Scenario>& scenario) {
    const std::wstring text = AskKit(nullptr);
    if (!text.empty() && text[0] != L'!') scenario = Read(kit::Narrow(text));
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
