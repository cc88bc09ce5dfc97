#include "scenario.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "operations.h"
#include "rules/json_values.h"
#include "rules/read_call_rules.h"

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

Scenario InterpretScenario(const std::string& json) {
    const Json document = Json::parse(json, nullptr, false);
    if (document.is_discarded()) throw std::runtime_error("the scenario is no JSON text");
    return Interpret(document);
}

}  // namespace imvoxa
