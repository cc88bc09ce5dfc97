// What goes wrong in the emulated program, or with the emulator's own means.
#pragma once

#include <stdexcept>

namespace ce {

// Ends the emulated process: an access that a device would trap, a deadlock, a call to nothing. The text names the place.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace ce
