// The command line.
#pragma once

#include <ocellus/cam.h>

#include <string>
#include <vector>

namespace camview {

struct CommandLine {
    std::wstring camera;  // as in camChooseDevice; empty: as remembered
    int type = CAM_TYPE_DSHOW;
    bool typeGiven = false;
    bool kit = false;       // the device kit is to be the camera
    std::wstring scenario;  // JSON for the kit, made of --scene or --scenario
    std::wstring settings;  // settings file that is applied when the camera is opened
    std::wstring section;
    std::wstring snap;     // a picture to take as soon as there is one
    std::wstring folder;   // for pictures
    std::wstring state;    // where the window's state is kept; empty: for the user
    std::wstring log;      // the log is written there as it grows; empty: not
    double exitAfter = 0;  // seconds; 0: never
    int dpi = 0;           // dots an inch in place of the screen's
    int tab = -1;
};

struct CommandLineAnswer {
    CommandLine wanted;
    bool goOn = true;  // else: say `text`, end with `exitCode`
    int exitCode = 0;
    std::string text;
};

// `words` without the program's name.
CommandLineAnswer ParseCommandLine(const std::vector<std::wstring>& words);

}  // namespace camview
