// What a scenario says of the kit's webcams.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "scenario.h"

namespace kit {

// One member of a scenario. False: it is none of the webcams'. Throws std::runtime_error with member, value
// and remedy.
bool ReadWebcamMember(const std::string& name, const std::string& path, const nlohmann::json& value,
                      Scenario& scenario);

}  // namespace kit
