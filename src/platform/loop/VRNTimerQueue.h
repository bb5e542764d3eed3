#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/loop/VRNRunLoop.h"

namespace vorna {

// Posted tasks and timers of a run loop, kept apart from the loop's notion of time so that the
// threaded loop (steady clock) and the test loop (virtual clock) share one implementation.
// Time is in seconds since the loop's epoch.
class VRNTimerQueue {
public:
    struct TimerState : VRNTimer {
        std::atomic<bool> valid{true};
        void invalidate() override { valid = false; }
        bool isValid() const override { return valid; }
    };

    void post(std::function<void()> task);
    std::shared_ptr<TimerState> schedule(double now, double interval, bool repeats,
                                         std::function<void()> block);

    // Takes the oldest posted task, if any.
    std::optional<std::function<void()>> takeTask();
    // Takes the earliest timer due at or before `now`; the caller runs it with runTimer().
    struct Due {
        std::shared_ptr<TimerState> state;
        std::shared_ptr<std::function<void()>> block;
        double fireTime;
        double interval;
        bool repeats;
    };
    std::optional<Due> takeDueTimer(double now);
    // Runs a due timer and, when it repeats and is still valid, schedules its next firing.
    void runTimer(const Due& due);

    // Earliest firing time of a valid timer, if any; drops invalidated timers on the way.
    std::optional<double> nextFireTime();
    bool hasTasks();
    // For loops that sleep on mutex(): read with the lock held. The generation changes whenever
    // a task is posted or a timer scheduled, so a sleeper can tell that it must look again.
    bool hasTasksLocked() const { return !tasks_.empty(); }
    uint64_t generationLocked() const { return generation_; }

    std::mutex& mutex() { return mutex_; }

private:
    struct Entry {
        std::shared_ptr<TimerState> state;
        std::shared_ptr<std::function<void()>> block;
        double interval;
        bool repeats;
    };
    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
    std::multimap<std::pair<double, uint64_t>, Entry> timers_;
    uint64_t sequence_ = 0;
    uint64_t generation_ = 0;
};

}  // namespace vorna
