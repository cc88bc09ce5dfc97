// What the kit plays: devices, scene, formats, properties and faults, read from a JSON text
// (docs/device-kit.md).
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "format.h"
#include "properties.h"
#include "rules/call_rules.h"
#include "scene/scene.h"

namespace kit {

struct Device {
    std::wstring name;  // legacy name, "CAM1:"
    long cameraId = 1;
};

struct Scenario {
    Scenario();

    std::vector<Device> devices;
    SceneSettings scene;
    int framesPerSecond = 30;
    Format preview;
    std::vector<Format> stillFormats;
    std::size_t stillFormat;  // the one selected at first
    PropertyTable properties;
    bool watchGraph = false;
    std::vector<CallRule> calls;     // named "Interface::Method", perhaps with an argument after a space
    LONG loseDeviceAfterFrames = 0;  // 0: never
    LONG resumeAfterFrames = 0;      // 0: never

    // Whether calls on the graph and its helpers are to be seen: asked for, or needed by a rule.
    bool WatchesGraph() const;
};

// A path, or JSON text beginning with "{". False: `scenario` is as it was, and `error` names member, value
// and remedy. Needs COM.
bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::string& error);

}  // namespace kit
