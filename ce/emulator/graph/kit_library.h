// devicekit.dll as a program on the emulated device finds it: the functions of device_kit/devicekit.h,
// answered by the emulated platform, and these beyond them:
//
//     // What the process holds: handles, threads, GDI objects, windows.
//     void kitHoldings(int counts[4]);
//     // The same by kind, and the heap's bytes: a line for each, the number first. Returns and writes as
//     // kitCallLog.
//     DWORD kitHoldingsByKind(wchar_t* buffer, DWORD length);
//     // The message boxes since the last call, each "caption<TAB>text" and a line end. Returns and writes as
//     // kitCallLog; only a call that has room for all of it takes them away.
//     DWORD kitMessageBoxes(wchar_t* buffer, DWORD length);
//     // The imager's part of a scenario, or of the one that the device was started with (null): a line with
//     // the scene, then a line "at times result delayMs call" for each rule, where "-" is no result. A text
//     // that begins with "!" says what is wrong. Returns and writes as kitCallLog.
//     DWORD kitImagerScenario(const wchar_t* scenario, wchar_t* buffer, DWORD length);
#pragma once

#include <string>

#include "emulator/graph/graph.h"

namespace ce {

// Makes the library known to the process; the platform must outlive it. `startScenario`: JSON text, or empty.
void OfferKit(Process& process, Platform& platform, const std::string& startScenario);

}  // namespace ce
