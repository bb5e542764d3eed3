#include "qt/invocation/VRNWindowShakeDetector.h"

#include <algorithm>
#include <cmath>

namespace vorna {
namespace {

constexpr size_t kLegs = 3;

}  // namespace

void VRNWindowShakeDetector::reset() {
    turns_.clear();
    direction_ = 0;
    lastTime_ = 0;
}

bool VRNWindowShakeDetector::addPosition(double time, double x) {
    const double previous = lastTime_;
    lastTime_ = time;
    if (turns_.empty()) {
        turns_.push_back({time, x});
        return false;
    }
    if (direction_ == 0) {
        Turn& rest = turns_.front();
        const double moved = x - rest.x;
        if (std::fabs(moved) < kJitter) {
            return false;
        }
        // A window that sat still starts its first leg when it starts to move, not when it
        // last moved: its rest lasts until the position before this one, or, when the window
        // system said nothing for longer than a drag's steps take, until just before this one.
        rest.time = std::max({rest.time, previous, time - kDragStep});
        direction_ = moved > 0 ? 1 : -1;
        turns_.push_back({time, x});
    } else {
        Turn& furthest = turns_.back();
        if ((x - furthest.x) * direction_ >= 0) {
            furthest = {time, x};
        } else if ((furthest.x - x) * direction_ >= kJitter) {
            // The leg that just ended is too short to be part of a shake: start over from its
            // end.
            const Turn& legStart = turns_[turns_.size() - 2];
            if (std::fabs(furthest.x - legStart.x) < kMinimumLeg) {
                turns_.erase(turns_.begin(), turns_.end() - 1);
            }
            direction_ = -direction_;
            turns_.push_back({time, x});
        } else {
            return false;
        }
    }
    // Legs that began too long ago can no longer be part of a shake.
    while (turns_.size() > 2 && turns_[1].time < time - kMaximumDuration) {
        turns_.erase(turns_.begin());
    }
    if (turns_.size() < kLegs + 1) {
        return false;
    }
    const size_t first = turns_.size() - (kLegs + 1);
    if (turns_[first].time < time - kMaximumDuration) {
        return false;
    }
    for (size_t i = first; i + 1 < turns_.size(); ++i) {
        if (std::fabs(turns_[i + 1].x - turns_[i].x) < kMinimumLeg) {
            return false;
        }
    }
    reset();
    turns_.push_back({time, x});
    lastTime_ = time;
    return true;
}

}  // namespace vorna
