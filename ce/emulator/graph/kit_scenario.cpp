#include "emulator/graph/kit_scenario.h"

#include <algorithm>
#include <optional>

#include <nlohmann/json.hpp>

#include "imager/scenario.h"
#include "rules/json_values.h"

namespace ce {

namespace {

// As a rule names it: the call alone, or with its arguments after it.
std::optional<std::string> FindCall(const std::string& call) {
    const char* const classes[] = {"CaptureGraphBuilder", "FilterGraph",   "CaptureFilter", "VideoRenderer",
                                   "MemoryAllocator",     "SampleGrabber", "StillImageSink"};
    const bool isCreation = std::any_of(std::begin(classes), std::end(classes), [&](const char* known) {
        return call == std::string("CoCreateInstance ") + known;
    });
    if (isCreation || KnownCalls().contains(call.substr(0, call.find(' ')))) return call;
    return std::nullopt;
}

// The emulator answers a call instead of carrying it out: with a success nothing would have happened.
std::optional<std::uint32_t> ReadFailure(const std::string& member, const nlohmann::json& value) {
    const auto result = kit::ReadHresult(member, value);
    if (result && *result < 0x80000000) kit::Refuse(member, value, "the emulator answers with failures only");
    return result;
}

bool Shows(const kit::SceneSettings&, std::string& error) {
    error = "is not shown by the emulated camera; leave the scene out, or give \"chart\"";
    return false;
}

}  // namespace

kit::Scenario ReadScenario(const std::string& json) {
    const kit::CallForm calls = {"{\"IGraphBuilder::AddFilter\": {\"result\": \"0x80004005\"}}",
                                 "the emulated platform sees no such call", FindCall, ReadFailure};
    imvoxa::InterpretScenario(json);
    kit::Scenario scenario = kit::InterpretScenario(json, "", {calls, Shows});
    if (scenario.chaosSeed)
        throw std::runtime_error(
            "\"chaos\" is not played by the emulated camera; leave it out, and switch "
            "threads at random with ce-run's --seed");
    return scenario;
}

}  // namespace ce
