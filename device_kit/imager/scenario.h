// What the imager library plays: the member "imager" of the device kit's scenario (docs/device-kit.md).
#pragma once

#include <string>
#include <vector>

#include "calls.h"
#include "imager_scene.h"

namespace imvoxa {

struct Scenario {
    Scene scene = Scene::Barcode;
    std::vector<CallRule> calls;
};

// A path, or JSON text beginning with "{"; members other than "imager" are the camera's. False: `scenario`
// is as it was, and `error` names member, value and remedy.
bool ReadScenario(const std::wstring& pathOrText, Scenario& scenario, std::wstring& error);

}  // namespace imvoxa
