// How camctl ends, and the one exception it throws.
#pragma once

#include <string>

namespace camctl {

enum ExitCode {
    kExitOk = 0,
    kExitUsage = 2,            // the command line itself
    kExitNoCamera = 3,         // the camera could not be brought up
    kExitInvalidArgument = 4,  // a value that the camera or the library refuses
    kExitCaptureFailed = 5,    // preview or the still picture could not be started
    kExitTimeout = 6,          // the camera did not answer in time
    kExitNoValidFile = 7       // the picture was reported, but there is no valid file
};

struct ToolError {
    ExitCode exitCode;
    std::string problem;  // names the thing and the value
    std::string remedy;   // what to do about it
    long result = 0;      // the camResult or HRESULT behind it, 0 when there is none
};

}  // namespace camctl
