// What goes wrong in the emulated program, or with the emulator's own means.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace ce {

// Ends the emulated process: an access that a device would trap, a deadlock, a call to nothing. The text
// names the place.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Not a fault: the program ended its process.
struct ProcessEnd : std::runtime_error {
    explicit ProcessEnd(std::uint32_t exitCode)
        : std::runtime_error("the process ended itself with " + std::to_string(exitCode)), code(exitCode) {}
    std::uint32_t code;
};

// Machine::Interrupt was called.
struct Interrupted : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace ce
