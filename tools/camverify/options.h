// The command line.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace verify {

struct Options {
    bool help = false;
    bool list = false;
    bool noKit = false;
    std::vector<std::string> groups;  // empty: all
    std::wstring library;             // empty: beside the program
    std::wstring json;                // empty: not written
    std::wstring output;              // empty: standard output only
    std::wstring pictures;            // folder, empty: pictures are removed again
    int type = 1;                     // CAM_TYPE_...
    DWORD deadlineMs = 30000;
    DWORD cycles = 10;
};

extern const char kUsage[];

// What is wrong with the command line, or an empty text.
std::string ReadOptions(int count, wchar_t** arguments, Options& options);

}  // namespace verify
