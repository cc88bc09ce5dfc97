// What the process holds, by kind.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace reliability {

// Names and numbers, always the same names in the same order but for kinds that come up later. "heap
// bytes" are those of all blocks in use, "private bytes", on the desktop, the memory that the process has.
using Holdings = std::vector<std::pair<std::string, long>>;
Holdings CountHoldings();

// What the system itself keeps, by kind, of so many sessions with so many filter graphs in all, whatever the
// library does.
Holdings LostBySystem(long sessions, long graphs);

}  // namespace reliability
