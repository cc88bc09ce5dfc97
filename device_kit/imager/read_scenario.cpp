// Where the desktop has its scenarios.
#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "scenario.h"
#include "scenario_text.h"
#include "text.h"

namespace imvoxa {

bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error) {
    try {
        scenario = InterpretScenario(kit::ReadScenarioText(pathOrText).json);
        return true;
    } catch (const std::exception& failure) {
        error = kit::Widen(failure.what());
        return false;
    }
}

bool ReadEnvironment(std::optional<Scenario>& scenario) {
    constexpr DWORD kMaxLength = 32767;
    std::wstring text(kMaxLength, L'\0');
    text.resize(GetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", text.data(), kMaxLength));
    if (text.empty()) return true;
    std::wstring error;
    if (ReadScenario(text, scenario.emplace(), error)) return true;
    std::fwprintf(stderr, L"Imvoxa.dll: DEVICEKIT_SCENARIO: %ls\n", error.c_str());
    return false;
}

}  // namespace imvoxa
