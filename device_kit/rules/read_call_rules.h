// Rules for calls as scenarios have them, one or a list for each call:
// {"<call>": {"at": 2, "times": 1, "result": "0x80004005", "delayMs": 50}}.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "rules/call_rules.h"

namespace kit {

// What differs from player to player.
struct CallForm {
    const char* example;  // one member, for texts: {"Acquire": {"result": 5}}
    const char* unknown;  // what is said of a call that there is not
    // The call as it is noted; nothing: there is none such.
    std::optional<std::string> (*find)(const std::string& call);
    // The result of a rule; nothing: it stands for no result. Throws as Refuse does.
    std::optional<std::uint32_t> (*readResult)(const std::string& member, const nlohmann::json& value);
};

// The rules of one object of calls, in its order. Throws std::runtime_error with member, value and remedy.
std::vector<CallRule> ReadCallRules(const std::string& path, const nlohmann::json& object,
                                    const CallForm& form);

// An HRESULT of eight hexadecimal digits; S_OK stands for no result.
std::optional<std::uint32_t> ReadHresult(const std::string& member, const nlohmann::json& value);
// Any number of 32 bits, or its hexadecimal digits in quotes.
std::optional<std::uint32_t> ReadStatus(const std::string& member, const nlohmann::json& value);

}  // namespace kit
