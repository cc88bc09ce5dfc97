// Scenario files of the device kit, the imager's part included: whatever they say, they are read or refused
// with a reason.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "imager/scenario.h"
#include "rules/read_call_rules.h"
#include "scenario.h"

namespace {

std::optional<std::string> AnyCall(const std::string& call) {
    return call.empty() ? std::nullopt : std::optional(call);
}

void Play(const std::string& json) {
    const kit::Player player = {{"{}", "is no call", AnyCall, kit::ReadHresult},
                                [](const kit::SceneSettings&, std::string&) { return true; }};
    const kit::Scenario scenario = kit::InterpretScenario(json, "folder/", player);
    if (scenario.stillFormats.empty() || scenario.stillFormat >= scenario.stillFormats.size()) abort();
    if (scenario.framesPerSecond < 1 || scenario.devices.size() > 9) abort();
    kit::CallRules rules;
    rules.Play(scenario.calls);
    for (const kit::CallRule& rule : scenario.calls) rules.Note(rule.call);
}

template <typename Reader>
void ReadOrRefuse(Reader read, const std::string& json) {
    try {
        read(json);
    } catch (const std::runtime_error& refused) {
        if (!*refused.what()) abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string json(data, data + size);
    ReadOrRefuse(Play, json);
    ReadOrRefuse(imvoxa::InterpretScenario, json);
    return 0;
}
