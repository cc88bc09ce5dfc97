// Scenarios of the device kit, as far as the emulated device can play them.
#pragma once

#include <string>

#include "emulator/graph/graph.h"

namespace ce {

// Sets up the devices, the camera and the rules for its calls. Throws std::runtime_error with the file, and
// with what cannot be played or is wrong.
void PlayScenario(Process& process, Platform& platform, const std::string& path);

}  // namespace ce
