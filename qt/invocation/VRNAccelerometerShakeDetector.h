#pragma once

#include <cstddef>
#include <deque>
#include <limits>

namespace vorna {

// Tells a shake of the device from accelerometer readings: within the last half second, at
// least four readings, three quarters of them accelerating harder than 13 m/s² (gravity alone
// reads about 9.8). One shake is reported once; the next can come a second later.
class VRNAccelerometerShakeDetector {
public:
    static constexpr double kThreshold = 13.0;  // m/s²
    static constexpr double kWindow = 0.5;      // seconds
    static constexpr double kCooldown = 1.0;    // seconds
    static constexpr size_t kMinimumReadings = 4;

    // One reading, `time` seconds on a steady clock; axes in m/s². True when it completes a
    // shake.
    bool addReading(double time, double x, double y, double z);

private:
    struct Reading {
        double time;
        bool accelerating;
    };
    std::deque<Reading> readings_;
    size_t accelerating_ = 0;
    double lastShake_ = -std::numeric_limits<double>::infinity();
};

}  // namespace vorna
