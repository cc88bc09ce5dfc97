// Scenarios of the device kit, as far as the emulated platform plays them.
#pragma once

#include <string>

#include "emulator/graph/graph.h"

namespace ce {

// Of a JSON text. Throws std::runtime_error with what cannot be played or is wrong, also in the imager's
// part.
kit::Scenario ReadScenario(const std::string& json);

}  // namespace ce
