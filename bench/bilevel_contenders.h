// The implementations that bilevel_bench compares.
#pragma once

#include <stddef.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bilevel_inputs.h"

namespace cam::bench {

enum class Stage { Threshold, Group4, File };
const char* StageName(Stage stage);

// Something to be timed on one picture. `prepare` is not timed. `run` returns the number of bytes it made, 0
// for a failure.
struct Job {
    std::function<void()> prepare;
    std::function<size_t()> run;
};

struct Contender {
    Stage stage;
    std::string name;
    bool reference;  // the others are compared with it
    std::function<Job(const Picture&)> bind;
};

std::vector<Contender> OwnContenders();
std::vector<Contender> PeerContenders();

}  // namespace cam::bench
