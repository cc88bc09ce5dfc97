// Each system call on standard error, with its arguments and result.
#pragma once

#include "emulator/process.h"

namespace ce {

// A call's line comes when it has returned; what it called in the program comes before it.
void TraceCalls(Process& process);

}  // namespace ce
