// The scenarios of this process's kit.
#pragma once

#include <string>

#include "scenario.h"

namespace kit {

// A path, or JSON text beginning with "{". False: `scenario` is as it was, and `error` names member, value
// and remedy. Needs COM.
bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::string& error);

// Whether calls on the graph and its helpers are to be seen: asked for, or needed by a rule.
bool WatchesGraph(const Scenario& scenario);

}  // namespace kit
