// What the kit plays: devices, scene, formats, properties and faults, read from a JSON text
// (docs/device-kit.md).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "format.h"
#include "properties.h"
#include "rules/read_call_rules.h"
#include "scene/scene.h"
#include "webcam/webcam_habits.h"

namespace kit {

struct Device {
    std::string name;  // legacy name, "CAM1:"
    long cameraId = 1;
};

// Of every picture that a scenario names.
constexpr int kMaxSide = 4096;
constexpr int kMaxFramesPerSecond = 60;

struct Scenario {
    Scenario();

    std::vector<Device> devices;
    SceneSettings scene;
    int framesPerSecond = 30;
    Format preview;
    std::vector<Format> stillFormats;
    std::size_t stillFormat;  // the one selected at first
    PropertyTable properties;
    // The kit's webcams, recorded when the scenario is loaded; without a value those recorded before stay.
    std::optional<std::vector<WebcamEntry>> webcams;
    std::vector<WebcamFormat> webcamFormats = UsualWebcamFormats();
    std::vector<WebcamFormat> webcamStillFormats;  // empty: the webcams have no still pin
    WebcamHabits webcamHabits;
    bool watchGraph = false;
    std::vector<CallRule> calls;     // named "Interface::Method", perhaps with an argument after a space
    long loseDeviceAfterFrames = 0;  // 0: never
    long resumeAfterFrames = 0;      // 0: never
    std::optional<std::uint32_t> chaosSeed;
};

// What differs between who plays scenarios.
struct Player {
    CallForm calls;
    // Whether a scene of this kind and path can be shown; else `error` says why not, in words that end a
    // sentence that begins with the path.
    std::function<bool(const SceneSettings& scene, std::string& error)> shows;
};

// Reads a JSON text; paths in it are relative to the folder, which ends in a separator or is empty. Throws
// std::runtime_error with member, value and remedy.
Scenario InterpretScenario(const std::string& json, const std::string& folder, const Player& player);

}  // namespace kit
