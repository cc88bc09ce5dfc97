#include "scenario.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "scenario_values.h"
#include "text.h"

namespace imvoxa {
namespace {

using Json = nlohmann::json;

constexpr long kMostDelayMs = 60000;

using kit::Integer;
using kit::Refuse;

DWORD Result(const std::string& member, const Json& value) {
    if (value.is_number_integer() && value >= LONG_MIN && value <= UINT32_MAX) {
        return static_cast<DWORD>(value.get<std::int64_t>());
    }
    const std::string text = value.is_string() ? value.get<std::string>() : "";
    DWORD code = 0;
    if (text.size() > 2 && text.rfind("0x", 0) == 0) {
        const auto [end, fault] = std::from_chars(text.data() + 2, text.data() + text.size(), code, 16);
        if (fault == std::errc() && end == text.data() + text.size()) return code;
    }
    Refuse(member, value, "give a whole number, or one in hexadecimal such as \"0x80004005\"");
}

CallRule ReadCallRule(Operation operation, const std::string& path, const Json& object) {
    const char* known = "give an object with \"at\", \"times\", \"result\" and \"delayMs\"";
    if (!object.is_object()) Refuse(path, object, known);
    CallRule rule;
    rule.operation = operation;
    for (const auto& [name, value] : object.items()) {
        std::string member = path;
        member.append(".").append(name);
        if (name == "at") {
            rule.at = Integer(member, value, 1, LONG_MAX);
        } else if (name == "times") {
            rule.times = Integer(member, value, 0, LONG_MAX);
        } else if (name == "result") {
            rule.result = Result(member, value);
            rule.fails = true;
        } else if (name == "delayMs") {
            rule.delayMs = static_cast<DWORD>(Integer(member, value, 0, kMostDelayMs));
        } else {
            Refuse(member, value, std::string("there is no such member; ") + known);
        }
    }
    if (!rule.fails && rule.delayMs == 0) {
        Refuse(path, object, "say what shall happen: add \"result\", \"delayMs\" or both");
    }
    return rule;
}

void ReadCalls(const std::string& path, const Json& object, Scenario& scenario) {
    if (!object.is_object())
        Refuse(path, object, "give an object of calls, such as {\"Acquire\": {\"result\": 5}}");
    for (const auto& [call, value] : object.items()) {
        std::string member = path;
        member.append(".").append(call);
        Operation operation{};
        if (!FindOperation(kit::Widen(call), operation)) {
            Refuse(member, value, "the imager library has no such operation; docs/imager.md lists them");
        }
        if (!value.is_array()) {
            scenario.calls.push_back(ReadCallRule(operation, member, value));
            continue;
        }
        for (std::size_t index = 0; index < value.size(); ++index) {
            scenario.calls.push_back(
                ReadCallRule(operation, member + "[" + std::to_string(index) + "]", value[index]));
        }
    }
}

Scenario Interpret(const Json& document) {
    Scenario scenario;
    if (!document.contains("imager")) return scenario;
    const Json& imager = document["imager"];
    if (!imager.is_object()) Refuse("imager", imager, "give an object with \"scene\" and \"calls\"");
    for (const auto& [name, value] : imager.items()) {
        const std::string member = "imager." + name;
        if (name == "scene") {
            if (value != "barcode" && value != "page") Refuse(member, value, "give \"barcode\" or \"page\"");
            scenario.scene = value == "barcode" ? Scene::Barcode : Scene::Page;
        } else if (name == "calls") {
            ReadCalls(member, value, scenario);
        } else {
            Refuse(member, value, "there is no such member; known are \"scene\" and \"calls\"");
        }
    }
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

}  // namespace imvoxa
