// What the imager library plays: the member "imager" of the device kit's scenario (docs/device-kit.md).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "imager_scene.h"
#include "rules/call_rules.h"

namespace imvoxa {

struct Scenario {
    Scene scene = Scene::Barcode;
    std::vector<kit::CallRule> calls;
};

// Reads a JSON text, in which members other than "imager" are the camera's. Throws std::runtime_error with
// member, value and remedy. Not on a device.
Scenario InterpretScenario(const std::string& json);

// A path, or JSON text beginning with "{". False: `scenario`
// is as it was, and `error` names member, value and remedy.
bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error);

// The one that DEVICEKIT_SCENARIO names; nothing if it names none. False: it cannot be used; the reason goes
// to stderr, where who set it will look.
bool ReadEnvironment(std::optional<Scenario>& scenario);

}  // namespace imvoxa
