// Frames that arrive at a callback, and what a frame of the kit's test chart shows.
#pragma once

#include <windows.h>

#include <atomic>
#include <vector>

#include <ocellus/cam.h>

#include "scene/chart_reader.h"

// The arguments of a frame callback and a copy of the frame.
struct Frame {
    DWORD size;
    LONG height;
    LONG width;
    DWORD stride;
    std::vector<BYTE> bytes;

    kit::Format FormatOf(kit::Layout layout) const { return {layout, width, abs(height), height < 0}; }
    // Room for the rounding to five bits, for the conversion from YUY2 and for the colour that this shares between two pixels.
    bool ShowsChart(kit::Layout layout) const {
        constexpr int kTolerance = 40;
        return kit::ShowsChart(bytes, FormatOf(layout), kTolerance);
    }
    // Pixel of the picture, (0, 0) at the top left, whichever way the rows are stored.
    WORD At(int x, int y) const;
};

// Collects what a callback is given. The functions are the callbacks to register; there is one of each in a
// process.
class FrameCatcher {
  public:
    // Forgets everything, and keeps copies of the next `keep` frames.
    void Reset(size_t keep = 1);
    LONG count() const { return count_; }
    const std::vector<Frame>& frames() const { return frames_; }  // complete once count() has reached `keep`
    void Catch(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

  private:
    std::atomic<LONG> count_ = 0;
    size_t keep_ = 0;
    std::vector<Frame> frames_;
};

extern FrameCatcher previewFrames;
extern FrameCatcher stillFrames;
void WINAPI CatchPreview(void* frame, DWORD size, LONG height, LONG width, DWORD stride);
void WINAPI CatchStill(void* frame, DWORD size, LONG height, LONG width, DWORD stride);
