#include "read_scenario.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "scenario_text.h"
#include "text.h"
#include "watch/call_names.h"

namespace kit {
namespace {

std::optional<std::string> FindCall(const std::string& call) {
    return IsKnownCall(Widen(call)) ? std::optional(call) : std::nullopt;
}

bool Shows(const SceneSettings& scene, std::string& error) {
    return OpenScene(scene, error) != nullptr;
}

}  // namespace

bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::string& error) {
    static const Player player = {
        {"{\"IGraphBuilder::AddFilter\": {\"result\": \"0x80004005\"}}",
         "the kit sees no such call; docs/device-kit.md lists those it sees", FindCall, ReadHresult},
        Shows};
    try {
        const ScenarioText text = ReadScenarioText(pathOrText);
        scenario = InterpretScenario(text.json, Narrow(text.folder), player);
        return true;
    } catch (const std::exception& failure) {
        error = failure.what();
        return false;
    }
}

bool WatchesGraph(const Scenario& scenario) {
    return scenario.watchGraph ||
           std::any_of(scenario.calls.begin(), scenario.calls.end(),
                       [](const CallRule& rule) { return IsGraphCall(Widen(rule.call)); });
}

}  // namespace kit
