// The command line of ce-run.
#pragma once

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
    bool trace = false, quiet = false, fast = false;
    unsigned deadlineSeconds = 60;
    unsigned stackKilobytes = 64;
};

// Nothing when the program is to end at once, with `exitCode`: help was shown, or what is wrong with the
// command line.
std::optional<Options> ReadOptions(int count, char** arguments, int& exitCode);

constexpr int kUsageError = 2;

}  // namespace ce
