// The device kit, which plays camera and imager in software, through the functions that it exports. All that
// is used of it stands here.
#pragma once

#include <windows.h>

#include <devicekit.h>
#include <imager/imvoxa_kit.h>

#include <string>
#include <vector>

namespace verify {

struct Kit {
    decltype(&kitLoadScenario) loadScenario;
    decltype(&kitResume) resume;
    decltype(&kitLoseDevice) loseDevice;
    decltype(&kitCallCount) callCount;
    decltype(&kitCallLog) callLog;
    decltype(&kitLiveObjects) liveObjects;
    decltype(&kitPreviewFrames) previewFrames;

    bool there = false;
};
struct ImagerKit {
    decltype(&imvKitLoadScenario) loadScenario;
    decltype(&imvKitCallCount) callCount;
    decltype(&imvKitCallLog) callLog;
    decltype(&imvKitOpenEngines) openEngines;

    bool there = false;
};
extern Kit kit;
extern ImagerKit imagerKit;

// Looks for both in the folder, which ends in a backslash. What is missing of the camera's, or an empty text.
std::string FindKit(const std::wstring& folder);

// The default scenarios, where there is a kit.
void ResetKit();
// A scenario of the camera's, or the member "imager" of one; the check ends when the kit refuses it.
void Play(const std::wstring& scenario);
void PlayImager(const std::wstring& member = L"{}");
// The scenario in which each such call fails with the result; the calls on the graph are watched.
std::wstring Failing(const std::string& call, const char* result, const char* more = "\"times\": 0");

// The calls since the scenario began, in their order.
using Lines = std::vector<std::string>;
// What a function of the kit's writes as text.
Lines ReadLines(DWORD(WINAPI* write)(wchar_t* buffer, DWORD length));
Lines Calls();
Lines ImagerCalls();
LONG CountOf(const std::string& call);
LONG ImagerCountOf(const std::string& operation);

}  // namespace verify
