// The command line of ce-run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ce {

struct Options {
    std::string image;                   // the program, or the DLL whose export is called
    std::string exportName;              // empty: a program
    std::vector<std::string> arguments;  // of either
    std::string folder;                  // whose files are the device's
    std::string registry, savedRegistry, scenario, json;
    std::string watched;  // the DLL whose calls of the system are counted
    std::string failing;  // which of them fails: FUNCTION:N
    std::optional<std::uint64_t> seed;
    unsigned deviceSeconds = 0;  // 0: no end
    bool trace = false, quiet = false, fast = false, time = false;
    unsigned deadlineSeconds = 60;
    unsigned stackKilobytes = 64;
};

// Nothing when the program is to end at once, with `exitCode`: help was shown, or what is wrong with the
// command line.
std::optional<Options> ReadOptions(int count, char** arguments, int& exitCode);

constexpr int kUsageError = 2;

}  // namespace ce
