// When the next picture is due: one by one, in bursts, at intervals. Times are milliseconds of a steady
// clock.
#pragma once

#include <cstdint>

namespace camview {

// One picture is on its way at a time. Whoever asks Due and gets true triggers a picture, and says Done when
// it is there or has failed.
class ShotPlan {
  public:
    // One more picture, or `count` one after another. They wait for what is on its way.
    void Ask(int count = 1) { asked += count; }

    // A picture every `intervalMs`, the first one now. A moment that finds one on its way is left out.
    void StartInterval(std::int64_t now, std::int64_t intervalMs);
    void StopInterval() { interval = 0; }
    bool RunsInterval() const { return interval > 0; }

    bool Due(std::int64_t now);
    void Done() { isOnItsWay = false; }
    // One has failed, and those asked for with it will, too: they are given up. An interval goes on.
    void Forget();

    bool IsOnItsWay() const { return isOnItsWay; }
    int Waiting() const { return asked; }
    int LeftOut() const { return leftOut; }

  private:
    int asked = 0;
    int leftOut = 0;
    bool isOnItsWay = false;
    std::int64_t interval = 0;  // 0: none
    std::int64_t next = 0;
};

}  // namespace camview
