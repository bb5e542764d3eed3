#pragma once

#include <cstddef>
#include <vector>

namespace vorna {

// Tells a shake of a window from its moves: three legs in alternating horizontal directions
// (left, right, left, or the other way round), each at least 40 points long, all within one
// second. Jitter of a few points does not count as a turn. Plain arithmetic over the positions
// the window system reports, so it is tested with numbers.
class VRNWindowShakeDetector {
public:
    static constexpr double kMinimumLeg = 40.0;      // points
    static constexpr double kMaximumDuration = 1.0;  // seconds, first leg's start to the shake
    static constexpr double kJitter = 6.0;           // points
    // Longest time between two positions of one drag: window systems report a moving window
    // many times a second.
    static constexpr double kDragStep = 0.1;  // seconds

    // The window's left edge is now at `x` (points), `time` seconds on a steady clock. True when
    // this move completes a shake; the detector then starts over.
    bool addPosition(double time, double x);
    void reset();

private:
    struct Turn {
        double time;
        double x;
    };
    // The start of the oldest leg that can still be part of a shake, each turning point since,
    // and last the furthest point of the leg under way.
    std::vector<Turn> turns_;
    int direction_ = 0;
    double lastTime_ = 0;  // of the last position reported
};

}  // namespace vorna
