// A camera for the length of a check: windows, waiting, and the frames that it sends.
#pragma once

#include <windows.h>

#include <ocellus/cam.h>

#include <atomic>
#include <string>
#include <vector>

#include "library.h"

namespace verify {

// Long enough for anything that works at all, so that a slow machine does not fail a check.
constexpr DWORD kLongEnough = 10000;  // ms

// Serves this thread's messages until `done`, or until the time is over; whether it is done.
template <typename Done>
bool PumpUntil(Done done, DWORD timeoutMs = kLongEnough) {
    constexpr DWORD kLookEveryMs = 5;
    const DWORD started = GetTickCount();
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        if (done()) return true;
        if (GetTickCount() - started > timeoutMs) return false;
        MsgWaitForMultipleObjectsEx(0, nullptr, kLookEveryMs, QS_ALLINPUT, 0);
    }
}
inline void PumpFor(DWORD ms) {
    PumpUntil([] { return false; }, ms);
}

// The same, with nothing served but what other threads send.
template <typename Done>
bool LetSentInUntil(Done done) {
    constexpr DWORD kLookEveryMs = 20;
    const DWORD started = GetTickCount();
    while (!done() && GetTickCount() - started < kLongEnough) {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        MsgWaitForMultipleObjectsEx(0, nullptr, kLookEveryMs, QS_SENDMESSAGE, 0);
    }
    return done();
}

// As chosen on the command line.
extern int cameraType;
extern int cycleCount;  // of what is done over and over to find what is lost

int State();  // -1 when camGetState fails

// An owner window below a top one, and an events window, of this thread.
class Windows {
  public:
    Windows();
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    HWND top;     // the window above the owner
    HWND owner;   // 320 by 240
    HWND events;  // counts message 2623
};
constexpr UINT kAsk = WM_APP + 1;  // sent by a callback, to be counted
// What has come in since the windows were made; there is one set of them at a time.
extern int captured, asked, ownerPaints;
// Called on the owner window's thread for each of its messages, before it is handled.
extern void (*onOwnerMessage)();
inline bool WaitForCaptured(int pictures) {
    return PumpUntil([=] { return captured >= pictures; });
}

// Brings a camera up in windows, and down at its end. The scenario is played before, where there is one.
class Session {
  public:
    explicit Session(int type = cameraType, const wchar_t* settingsPath = nullptr,
                     const wchar_t* section = nullptr);
    explicit Session(const std::wstring& scenario);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Windows windows;
    const camResult initResult;

    // Ends the check when it does not come up, or not to preview.
    void NeedUp() const { Need("the camera comes up", initResult, camResult{camOk}); }
    void NeedPreview() const;
    // Takes a picture and waits for its message; whether both went well.
    bool Snap(const wchar_t* path = nullptr, int mode = 0);
};

// A frame as a callback was given it, with a copy of its bytes.
struct SeenFrame {
    DWORD size;
    LONG height, width;
    DWORD stride;
    std::vector<BYTE> bytes;
    const void* address;

    LONG Rows() const { return height < 0 ? -height : height; }
    // RGB 5-5-5 or 5-6-5; (0, 0) is the picture's top left, whichever way the rows are stored.
    WORD At(LONG x, LONG y) const;
};

// What a callback was given. The functions are the callbacks to register; there is one of each.
class FrameCatcher {
  public:
    // Forgets everything, and keeps copies of the next `keep` frames.
    void Reset(size_t keep = 1);
    LONG Count() const { return count; }
    const std::vector<SeenFrame>& Frames() const {
        return frames;
    }  // complete once Count() has reached `keep`
    void Catch(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

    // Called once the frame has been copied.
    void (*onFrame)(void* frame, DWORD size, LONG height, LONG width, DWORD stride) = nullptr;

  private:
    std::atomic<LONG> count = 0;
    size_t kept = 0;
    std::vector<SeenFrame> frames;
};
extern FrameCatcher previewFrames, stillFrames;
void WINAPI CatchPreview(void* frame, DWORD size, LONG height, LONG width, DWORD stride);
void WINAPI CatchStill(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

// What the media-type callback was told.
struct ToldType {
    std::atomic<int> calls = 0;
    DWORD thread = 0;
    LONG height = 0, width = 0;
    DWORD sampleSize = 0, stride = 0;
    LONG formatCode = 0, framesPerSecond = 0;
};
extern ToldType told;
void WINAPI TellMediaType(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                          LONG framesPerSecond);

// While it lives all three are registered.
class Callbacks {
  public:
    Callbacks();
    ~Callbacks();
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;
};

}  // namespace verify
