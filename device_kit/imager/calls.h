// The calls that come in: counted, listed, delayed and failed as the scenario says.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "base/lock.h"
#include "rules/call_rules.h"

namespace imvoxa {

cam::Guarded<kit::CallRules>& TheCalls();

// One call, for as long as it lasts. Any thread.
class Call {
  public:
    // Waits as the scenario says.
    explicit Call(std::string_view operation, std::string_view arguments = {});

    // Whether the operation shall do nothing but return Result().
    bool Fails() const { return verdict.result.has_value(); }
    DWORD Result() const { return *verdict.result; }

  private:
    kit::Verdict verdict;
};

}  // namespace imvoxa
