// The device kit, when it is the camera: devicekit.dll and the kit's Imvoxa.dll as they are loaded in this
// process.
#pragma once

#include <windows.h>

#include <devicekit.h>

#include <atomic>
#include <string>

#include "imager/imvoxa_kit.h"

namespace camview {

// Once loaded, everything but PlayScenario may be called from any thread.
class KitControl {
  public:
    // Finds the library that the system would load for the kit's camera, or that beside the program, which is
    // registered then. An HRESULT: it is there and could not be registered.
    HRESULT Load();
    bool IsLoaded() const { return isLoaded; }

    // Without a camera, on a thread of the multithreaded apartment. Empty, or the kit's words about a
    // mistake.
    std::wstring PlayScenario(const std::wstring& scenario);
    // The same of the kit's imager library, which is loaded with the camera of that type.
    std::wstring PlayImagerScenario(const std::wstring& scenario);

    // Whether the kit plays the camera that is up.
    bool IsTheCamera();
    static bool IsTheImager();

    // Window's thread. It stays lost until somebody wants it back: without a scenario of the viewer's, the
    // kit has it back whenever a camera is made.
    void Lose() {
        loseDevice();
        staysLost = true;
    }
    bool StaysLost() const { return staysLost; }
    void WantBack() { staysLost = false; }
    void Resume() const { resume(); }
    // The next picture is refused.
    void FailNextTrigger(bool ofImager) const;
    std::wstring Counts() const;
    long PreviewFrames() const { return previewFrames(); }
    std::wstring CallLog(bool ofImager) const;

  private:
    std::atomic<bool> isLoaded = false;  // publishes the others
    bool staysLost = false;
    decltype(&kitLoadScenario) loadScenario = nullptr;
    decltype(&kitAnswerNext) answerNext = nullptr;
    decltype(&kitResume) resume = nullptr;
    decltype(&kitLoseDevice) loseDevice = nullptr;
    decltype(&kitLiveObjects) liveObjects = nullptr;
    decltype(&kitPreviewFrames) previewFrames = nullptr;
    decltype(&kitStillPictures) stillPictures = nullptr;
    decltype(&kitCallLog) callLog = nullptr;
};

// With a separator at its end.
std::wstring ProgramFolder();

}  // namespace camview
