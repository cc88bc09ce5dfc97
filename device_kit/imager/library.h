// What there is one of in the loaded library.
#pragma once

#include "base/lock.h"
#include "imager.h"
#include "scenario.h"

namespace imvoxa {

struct Library {
    cam::Lock lock;
    Imager imager;
    bool scenarioGiven = false;  // by imvKitLoadScenario: the environment does not count
};
extern Library theLibrary;

// From its beginning: counts and log begin anew. Under the library's lock.
void Play(Scenario scenario);

}  // namespace imvoxa
