#include "model/frame_meter.h"

namespace camview {

namespace {
constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kSilent = 3 * kSecond;
// A camera's start takes what it takes: rhythm counts from here on.
constexpr long kWarmUpFrames = 10;
}  // namespace

void FrameMeter::Start(double perSecond) {
    *this = {};
    period = perSecond > 0 ? static_cast<std::int64_t>(static_cast<double>(kSecond) / perSecond) : 0;
}

void FrameMeter::Note(std::int64_t now) {
    // Late frames are made up for by early ones: only what a whole period and a half is missing counts.
    const std::int64_t gap = now - last;
    if (period > 0 && frames > kWarmUpFrames && gap > period * 5 / 2)
        lost += static_cast<long>((gap - period / 2) / period);
    if (!started) windowStart = now;
    started = true;
    last = now;
    ++frames;
    ++windowFrames;
    if (now - windowStart >= kSecond) {
        rate = static_cast<double>(windowFrames - 1) * kSecond / static_cast<double>(now - windowStart);
        windowStart = now;
        windowFrames = 1;
    }
}

double FrameMeter::Rate(std::int64_t now) {
    if (!started || now - last > kSilent) rate = 0;
    return rate;
}

}  // namespace camview
