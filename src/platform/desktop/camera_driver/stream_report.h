// What the driver lets the application know besides pictures: how the stream does, and what became of the
// webcam.
#pragma once

#include <windows.h>

#include <atomic>

#include "base/lock.h"
#include "platform/desktop/camera_driver/source_picture.h"

namespace cam::driver {

// Of the webcam that ran last, until another camera is created. One at a time is used in a process.
struct StreamReport {
    SourceShape shape;
    LONGLONG frameTime = 0;  // as agreed upon, in 100 ns; 0: the webcam does not say
    HRESULT startResult = S_OK;
    DWORD frames = 0;        // that came since the start
    DWORD brokenFrames = 0;  // of them, those of no use
    DWORD lastTick = 0;
    LONGLONG milliseconds = 0;  // from the first frame to the last
    bool lost = false;
};

extern Guarded<StreamReport> theStreamReport;

// Of the video, from every start: they are counted and not used. Some webcams begin with black pictures, or
// with wrongly exposed ones.
extern std::atomic<DWORD> theWarmUpFrames;

}  // namespace cam::driver
