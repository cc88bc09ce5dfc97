// The run: checks one after the other, their reports, and the watch over calls that do not return.
#pragma once

#include <string>
#include <vector>

#include "check.h"
#include "options.h"

namespace verify {

enum ExitCode { kPassed = 0, kSomeFailed = 1, kUsageOrLibrary = 2, kNoCamera = 3 };

// What there is on this machine.
struct Setting {
    unsigned present = 0;      // Needs
    std::string revision;      // the library's
    std::string kitIsMissing;  // why, or empty
};

void BeginReport(const Options& options);  // before all that follows
void Say(const std::string& text);         // into the report

// Whether a camera can be brought up at all, before the checks; a call that hangs ends the program.
LONG TryCamera();

// Runs the checks of these groups, in their order, and writes the reports.
int RunChecks(const std::vector<const Group*>& groups, const Setting& setting);

}  // namespace verify
