// What the device's camera and imager play.
#pragma once

#include <string>

#include "emulator/graph/graph.h"

namespace ce {

// Plays the scenario of that file (none: an empty path), and offers the program the kit's library. Throws
// std::runtime_error with the file, and with what cannot be played or is wrong.
void OfferScenario(Process& process, Platform& platform, const std::string& path);

}  // namespace ce
