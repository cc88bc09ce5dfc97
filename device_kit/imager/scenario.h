// What the imager library plays: the member "imager" of the device kit's scenario
// (docs/device-kit.md). A device reads none.
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

// A path, or JSON text beginning with "{"; members other than "imager" are the camera's. False: `scenario`
// is as it was, and `error` names member, value and remedy.
bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error);

// The one that DEVICEKIT_SCENARIO names; nothing if it names none. False: it cannot be used; the reason goes
// to stderr, where who set it will look.
bool ReadEnvironment(std::optional<Scenario>& scenario);

}  // namespace imvoxa
