// The calls that come in: counted, logged, and failed where the scenario says so.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace imvoxa {

// The library's operations by their ordinals.
enum class Operation : WORD {
    CurrentImage = 3,
    Pixels = 4,
    OpenEngine = 15,
    SecondDimension = 26,
    Open = 32,
    SaveBmp = 39,
    SaveJpeg = 40,
    SavePng = 41,
    SetSwitch16 = 44,
    Shutdown = 50,
    CloseEngine = 51,
    FirstDimension = 53,
    StampText = 57,
    SetExposureSetting = 59,
    GetExposureSetting = 67,
    GetExposureSettingParms = 68,
    EnableMonoColor = 69,
    SetExposure = 70,
    SetSwitch80 = 75,
    Start = 79,
    Stop = 80,
    Acquire = 81,
    Draw = 83,
    GetExposure = 99,
    FirstDimensionOf1 = 106,
    SecondDimensionOf1 = 107,
    FirstDimensionOf0 = 108,
    SecondDimensionOf0 = 109
};

// The operation of that name ("Acquire") or ordinal ("81"). False: there is none.
bool FindOperation(const std::wstring& nameOrOrdinal, Operation& operation);

// What happens at some calls of one operation.
struct CallRule {
    Operation operation = Operation::Open;
    LONG at = 1;     // the first call that is meant, counted from 1
    LONG times = 1;  // how many calls from there on; 0: all
    bool fails = false;
    DWORD result = 0;   // returned instead of doing anything, if it fails
    DWORD delayMs = 0;  // before the call
};

// Forgets counts and log, and lets these rules act from now on.
void ResetCalls(std::vector<CallRule> rules);

LONG CallCount(Operation operation);

// One line a call: the operation's name and its arguments. The first ten thousand since the reset.
std::wstring CallLog();

// One call, for as long as it lasts. Any thread.
class Call {
  public:
    // Counts and logs the call, and waits as the scenario says.
    explicit Call(Operation operation, const std::wstring& arguments = {});

    // Whether the operation shall do nothing but return Result().
    bool Fails() const { return rule.fails; }
    DWORD Result() const { return rule.result; }

  private:
    CallRule rule;
};

}  // namespace imvoxa
