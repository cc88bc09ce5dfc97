// What the system tests share: the built libraries, windows, bounded waits, and counts of what a process
// holds.
#pragma once

#include <windows.h>

#include <devicekit.h>
#include <ocellus/cam.h>

#include <functional>
#include <string>
#include <vector>

// The exports of the built ocellus.dll, by the names of the header: cam.Init is camInit.
struct CameraLibrary {
    CameraLibrary();

    decltype(&camGetDllRevision) GetDllRevision;
    decltype(&camInit) Init;
    decltype(&camSelect) Select;
    decltype(&camGetSelectedType) GetSelectedType;
    decltype(&camShutDown) ShutDown;
    decltype(&camStartPreview) StartPreview;
    decltype(&camStopPreview) StopPreview;
    decltype(&camSetEventsWindow) SetEventsWindow;
    decltype(&camGetState) GetState;
    decltype(&camGetPropertyRange) GetPropertyRange;
    decltype(&camGetProperty) GetProperty;
    decltype(&camSetProperty) SetProperty;
    decltype(&camGetCameraID) GetCameraID;
    decltype(&camGetResolutionCount) GetResolutionCount;
    decltype(&camGetResolutionDimensions) GetResolutionDimensions;
    decltype(&camSetResolution) SetResolution;
    decltype(&camSnapPicture) SnapPicture;
    decltype(&camSnapPictureWithText) SnapPictureWithText;
    decltype(&camGetSnapshot) GetSnapshot;
    decltype(&camRegisterPreviewCallback) RegisterPreviewCallback;
    decltype(&camRegisterStillImageCallback) RegisterStillImageCallback;
    decltype(&camRegisterMediaTypeCallback) RegisterMediaTypeCallback;

    int State() const;  // -1 when camGetState fails
};

// The exports of devicekit.dll.
struct Kit {
    Kit();

    decltype(&kitLoadScenario) LoadScenario;
    decltype(&kitReset) Reset;
    decltype(&kitResume) Resume;
    decltype(&kitLoseDevice) LoseDevice;
    decltype(&kitCallCount) CallCount;
    decltype(&kitCallLog) CallLog;
    decltype(&kitLiveObjects) LiveObjects;
    decltype(&kitPreviewFrames) PreviewFrames;
    decltype(&kitStillPictures) StillPictures;

    // Plays the JSON text; the test fails with the kit's own words when it has an error.
    void Play(const std::wstring& scenario) const;
    // The calls since the scenario began, one a line.
    std::vector<std::wstring> Calls() const;
};

extern const CameraLibrary& cam();
extern const Kit& deviceKit();

// Serves this thread's messages until `done`, or until the time is over; whether it is done. Long enough for
// anything that works at all, so that a slow machine does not fail a test.
constexpr DWORD kLongEnough = 10000;  // ms
bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs = kLongEnough);
// Serves this thread's messages for a time.
void PumpFor(DWORD ms);

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

// A folder of the test's own below the system's temporary one, emptied and removed at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::wstring Path(const std::wstring& name) const { return folder_ + L"\\" + name; }

  private:
    std::wstring folder_;
};

// The file's bytes; empty when it is not there.
std::string ReadFileBytes(const std::wstring& path);
void WriteFileBytes(const std::wstring& path, const std::string& bytes);

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
