#pragma once

#include <string>

namespace CLI {
class App;
}

namespace camctl {

// In roff, for man.
std::string ManualPage(const CLI::App& app, const std::string& version);
// To be sourced by bash.
std::string BashCompletion(const CLI::App& app);

}  // namespace camctl
