#include "model/shot_plan.h"

namespace camview {

void ShotPlan::StartInterval(std::int64_t now, std::int64_t intervalMs) {
    interval = intervalMs;
    next = now;
    leftOut = 0;
}

bool ShotPlan::Due(std::int64_t now) {
    if (interval > 0 && now >= next) {
        const std::int64_t passed = (now - next) / interval;
        next += (passed + 1) * interval;
        leftOut += static_cast<int>(passed);
        if (isOnItsWay || asked > 0) {
            ++leftOut;
        } else {
            ++asked;
        }
    }
    if (isOnItsWay || asked == 0) return false;
    --asked;
    isOnItsWay = true;
    return true;
}

void ShotPlan::Forget() {
    asked = 0;
    isOnItsWay = false;
}

}  // namespace camview
