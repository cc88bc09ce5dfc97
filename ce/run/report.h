// What a run was, and what it left.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "emulator/process.h"

namespace ce {

struct Outcome {
    enum class End { Exit, Returned, Deadline, DeviceDeadline, Fault };
    End end = End::Exit;
    u32 value = 0;      // exit code, or the export's result
    std::string fault;  // its text, or where the deadline found the program
    u64 instructions = 0;
    std::optional<DeviceTime> time;
};

struct Report {
    struct Left {
        std::string what;
        u32 count;
    };
    std::string image;
    Outcome outcome;
    u64 milliseconds = 0;  // of the device's time
    std::vector<Scheduler::StackUse> stacks;
    u32 peakHeap = 0;
    size_t messages = 0;
    std::vector<std::string> boxes;  // what message boxes said
    std::vector<Left> handles;       // by kind; also device contexts, bitmaps and windows
    std::vector<std::string> references;
    std::vector<Heap::Share> blocks;
    std::map<std::string, u32> calls;  // of the watched DLL, by function
};

Report MakeReport(Process& process, const std::string& image, const Outcome& outcome);
std::string ToText(const Report& report);
std::string ToJson(const Report& report);

}  // namespace ce
