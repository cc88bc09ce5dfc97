// What the system tests share: scenarios, windows, deadlines, and counts of what a process holds.
#pragma once

#include <windows.h>

#include <devicekit.h>
#include <ocellus/cam.h>

#include <string>
#include <vector>

#include "pump.h"
#include "test_files.h"

int State();  // -1 when camGetState fails

// Plays the JSON text; the test fails with the kit's own words when it has an error.
void Play(const std::wstring& scenario);
// The calls since the scenario began, one a line.
std::vector<std::wstring> Calls();

// An owner window and an events window of this thread. The events window counts message 2623.
class Windows {
  public:
    Windows();
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    HWND top() const { return top_; }      // the window above the owner
    HWND owner() const { return owner_; }  // 320 by 240
    HWND events() const { return events_; }
    // Pictures that have been announced.
    int captured() const;
    bool WaitForCaptured(int pictures) {
        return PumpUntil([=, this] { return captured() >= pictures; });
    }

  private:
    HWND top_;
    HWND owner_;
    HWND events_;
};

// A camera for the length of a test: the scenario is played, the camera brought up in the windows and taken
// down at the end.
class Camera {
  public:
    explicit Camera(const std::wstring& scenario = L"{}");
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    Windows windows;
    const camResult initResult;
};

// What the process holds.
struct Holdings {
    int handles;
    int threads;
    int gdiObjects;
    int windows;
    LONG kitObjects;
    bool operator==(const Holdings&) const = default;
};
Holdings CountHoldings();
std::string Describe(const Holdings& holdings);
// Threads that ended are gone from the counts a little later: waits until the process holds no more than
// `before`.
bool HoldingsReturnTo(const Holdings& before, DWORD timeoutMs = 2000);

// While one of these lives the step that it names must end within its time; else the program is ended, since
// nothing after a hang can be judged.
class Deadline {
  public:
    explicit Deadline(const char* step, DWORD timeoutMs = kLongEnough);
    ~Deadline();
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

// The message boxes since the last call, each "caption\ttext".
std::vector<std::string> TakeMessageBoxes();
