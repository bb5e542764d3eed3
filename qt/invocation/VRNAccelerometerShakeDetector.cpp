#include "qt/invocation/VRNAccelerometerShakeDetector.h"

namespace vorna {

bool VRNAccelerometerShakeDetector::addReading(double time, double x, double y, double z) {
    const bool accelerating = x * x + y * y + z * z > kThreshold * kThreshold;
    readings_.push_back({time, accelerating});
    accelerating_ += accelerating ? 1 : 0;
    while (!readings_.empty() && readings_.front().time < time - kWindow) {
        accelerating_ -= readings_.front().accelerating ? 1 : 0;
        readings_.pop_front();
    }
    if (time - lastShake_ < kCooldown || readings_.size() < kMinimumReadings ||
        accelerating_ * 4 < readings_.size() * 3) {
        return false;
    }
    lastShake_ = time;
    readings_.clear();
    accelerating_ = 0;
    return true;
}

}  // namespace vorna
