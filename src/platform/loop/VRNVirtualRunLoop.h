#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <thread>

#include "platform/loop/VRNRunLoop.h"
#include "platform/loop/VRNTimerQueue.h"

namespace vorna {

// A run loop whose clock moves only when told to. The thread that creates it is "the loop's
// thread"; that thread drives it with advance() and drain(). Tasks may be posted from any
// thread (the HTTP thread, the upload queue); they run the next time the driver drains.
// A 40-second retry is thereby tested in microseconds, and nothing sleeps for a timer.
class VRNVirtualRunLoop : public VRNRunLoop {
public:
    VRNVirtualRunLoop();

    void post(std::function<void()> task) override;
    VRNTimerPtr scheduleTimer(double interval, bool repeats, std::function<void()> block) override;
    bool isCurrent() const override;

    // Seconds of virtual time since the loop was created.
    double now() const;
    // Runs posted tasks and the timers due now until nothing is left to run at this instant.
    // Returns how many tasks and timers ran.
    size_t drain();
    // Moves the clock forward by `seconds`, firing every timer at its own instant in order and
    // draining posted tasks at each step.
    void advance(double seconds);
    // For tests whose work crosses real threads (a real HTTP exchange): drains until the
    // predicate holds, waiting for posts from other threads for at most `realTimeout`.
    // Virtual time does not move. Returns the predicate's last value.
    bool drainUntil(const std::function<bool()>& predicate,
                    std::chrono::milliseconds realTimeout = std::chrono::seconds(20));
    // Whether a valid timer is still waiting to fire.
    bool hasPendingTimers();

private:
    VRNTimerQueue queue_;
    std::condition_variable posted_;
    std::atomic<double> now_{0};
    const std::thread::id owner_;
};

}  // namespace vorna
