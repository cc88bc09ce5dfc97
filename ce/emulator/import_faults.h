// The calls that one module makes to the system: counted, and one of them made to fail as its documentation
// says.
#pragma once

#include <map>
#include <string>

#include "emulator/process.h"

namespace ce {

class ImportFaults {
  public:
    // Before the module is loaded: its imports are seen whenever it is.
    ImportFaults(Process& process, std::string module);

    // The call of that number, from 1, fails. Throws std::runtime_error for a function that does not fail.
    void Fail(const std::string& function, u32 call);

    // By function; those that were never called are there with 0.
    const std::map<std::string, u32>& Calls() const { return calls; }
    // Whether the chosen call has come.
    bool HasFailed() const { return hasFailed; }
    static bool CanFail(const std::string& function);

  private:
    Handler Watched(const std::string& function, Handler carryOut);
    u64 Refuse(const std::string& function, Handler& carryOut, Arguments& arguments);

    Process& process;
    std::map<std::string, u32> calls;
    std::string chosen;
    u32 chosenCall = 0;
    bool hasFailed = false;
};

}  // namespace ce
