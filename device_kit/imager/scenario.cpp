#include "scenario.h"

#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "calls.h"
#include "rules/json_values.h"
#include "rules/read_call_rules.h"
#include "scenario_text.h"
#include "text.h"

namespace imvoxa {
namespace {

using Json = nlohmann::json;

constexpr kit::CallForm kCallForm = {"{\"Acquire\": {\"result\": 5}}",
                                     "the imager library has no such operation; docs/imager.md lists them",
                                     FindOperation, kit::ReadStatus};

Scenario Interpret(const Json& document) {
    Scenario scenario;
    if (!document.contains("imager")) return scenario;
    kit::ReadObject("imager", document["imager"], "\"scene\" and \"calls\"",
                    [&](const std::string& name, const std::string& member, const Json& value) {
                        if (name == "scene") {
                            if (value != "barcode" && value != "page")
                                kit::Refuse(member, value, "give \"barcode\" or \"page\"");
                            scenario.scene = value == "barcode" ? Scene::Barcode : Scene::Page;
                        } else if (name == "calls") {
                            scenario.calls = kit::ReadCallRules(member, value, kCallForm);
                        } else {
                            return false;
                        }
                        return true;
                    });
    return scenario;
}

}  // namespace

bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error) {
    try {
        const Json document = Json::parse(kit::ReadScenarioText(pathOrText).json, nullptr, false);
        if (document.is_discarded()) throw std::runtime_error("the scenario is no JSON text");
        scenario = Interpret(document);
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
