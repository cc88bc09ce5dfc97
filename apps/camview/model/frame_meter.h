// How fast frames come, and how many did not.
#pragma once

#include <cstdint>

namespace camview {

// Frames are noted by the thread on which they come, read by another: both under the caller's lock. Times are
// microseconds of a steady clock.
class FrameMeter {
  public:
    // `perSecond` as the camera states it; 0: it does not say, and nothing counts as lost.
    void Start(double perSecond);
    void Note(std::int64_t now);

    // Of the last second or two; 0 when none came.
    double Rate(std::int64_t now);
    long Frames() const { return frames; }
    // Places in the camera's rhythm at which no frame came.
    long Lost() const { return lost; }
    // Microseconds since the last frame, or since the start; negative: not started.
    std::int64_t Silence(std::int64_t now) const { return started ? now - last : -1; }

  private:
    std::int64_t period = 0;
    std::int64_t last = 0;
    std::int64_t windowStart = 0;
    long windowFrames = 0;
    double rate = 0;
    long frames = 0;
    long lost = 0;
    bool started = false;
};

}  // namespace camview
