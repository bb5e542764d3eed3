#include "platform/loop/VRNTimerQueue.h"

namespace vorna {

void VRNTimerQueue::post(std::function<void()> task) {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    ++generation_;
}

std::shared_ptr<VRNTimerQueue::TimerState> VRNTimerQueue::schedule(double now, double interval,
                                                                   bool repeats,
                                                                   std::function<void()> block) {
    auto state = std::make_shared<TimerState>();
    // A repeating timer with no interval would spin the loop; the platform clamps it likewise.
    if (repeats && interval <= 0) {
        interval = 0.0001;
    }
    if (interval < 0) {
        interval = 0;
    }
    std::lock_guard lock(mutex_);
    ++generation_;
    timers_.emplace(
        std::make_pair(now + interval, sequence_++),
        Entry{state, std::make_shared<std::function<void()>>(std::move(block)), interval, repeats});
    return state;
}

std::optional<std::function<void()>> VRNTimerQueue::takeTask() {
    std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
        return std::nullopt;
    }
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

std::optional<VRNTimerQueue::Due> VRNTimerQueue::takeDueTimer(double now) {
    std::lock_guard lock(mutex_);
    while (!timers_.empty()) {
        auto it = timers_.begin();
        if (!it->second.state->valid) {
            timers_.erase(it);
            continue;
        }
        if (it->first.first > now) {
            return std::nullopt;
        }
        Due due{it->second.state, it->second.block, it->first.first, it->second.interval,
                it->second.repeats};
        timers_.erase(it);
        return due;
    }
    return std::nullopt;
}

void VRNTimerQueue::runTimer(const Due& due) {
    if (!due.state->valid) {
        return;
    }
    if (!due.repeats) {
        // A one-shot timer is no longer valid once it has fired.
        due.state->valid = false;
    }
    (*due.block)();
    if (due.repeats && due.state->valid) {
        std::lock_guard lock(mutex_);
        timers_.emplace(std::make_pair(due.fireTime + due.interval, sequence_++),
                        Entry{due.state, due.block, due.interval, true});
    }
}

std::optional<double> VRNTimerQueue::nextFireTime() {
    std::lock_guard lock(mutex_);
    while (!timers_.empty()) {
        auto it = timers_.begin();
        if (!it->second.state->valid) {
            timers_.erase(it);
            continue;
        }
        return it->first.first;
    }
    return std::nullopt;
}

bool VRNTimerQueue::hasTasks() {
    std::lock_guard lock(mutex_);
    return !tasks_.empty();
}

}  // namespace vorna
