// How camctl ends, and the one exception it throws.
#pragma once

#include <string>

namespace camctl {

enum class ExitCode : int {
    Ok = 0,
    Usage = 2,            // the command line itself
    NoCamera = 3,         // the camera could not be brought up
    InvalidArgument = 4,  // a value that the camera or the library refuses
    CaptureFailed = 5,    // preview or the still picture could not be started
    Timeout = 6,          // the camera did not answer in time
    NoValidFile = 7,      // the picture was reported, but there is no valid file
    Findings = 8          // doctor found a problem, and has said so
};

struct ToolError {
    ExitCode exitCode;
    std::string problem;  // names the thing and the value
    std::string remedy;   // what to do about it
    long result = 0;      // the camResult or HRESULT behind it, 0 when there is none
};

// Thrown where everything has been said.
struct Diagnosed {};

}  // namespace camctl
