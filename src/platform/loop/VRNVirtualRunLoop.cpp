#include "platform/loop/VRNVirtualRunLoop.h"

namespace vorna {

VRNVirtualRunLoop::VRNVirtualRunLoop() : owner_(std::this_thread::get_id()) {}

void VRNVirtualRunLoop::post(std::function<void()> task) {
    queue_.post(std::move(task));
    posted_.notify_all();
}

VRNTimerPtr VRNVirtualRunLoop::scheduleTimer(double interval, bool repeats,
                                             std::function<void()> block) {
    return queue_.schedule(now_, interval, repeats, std::move(block));
}

bool VRNVirtualRunLoop::isCurrent() const {
    return std::this_thread::get_id() == owner_;
}

double VRNVirtualRunLoop::now() const {
    return now_;
}

size_t VRNVirtualRunLoop::drain() {
    size_t ran = 0;
    for (;;) {
        if (auto task = queue_.takeTask()) {
            (*task)();
            ++ran;
            continue;
        }
        if (auto due = queue_.takeDueTimer(now_)) {
            queue_.runTimer(*due);
            ++ran;
            continue;
        }
        return ran;
    }
}

void VRNVirtualRunLoop::advance(double seconds) {
    const double target = now_ + seconds;
    drain();
    for (;;) {
        const auto next = queue_.nextFireTime();
        if (!next || *next > target) {
            break;
        }
        if (*next > now_) {
            now_ = *next;
        }
        drain();
    }
    now_ = target;
    drain();
}

bool VRNVirtualRunLoop::drainUntil(const std::function<bool()>& predicate,
                                   std::chrono::milliseconds realTimeout) {
    const auto deadline = std::chrono::steady_clock::now() + realTimeout;
    for (;;) {
        drain();
        if (predicate()) {
            return true;
        }
        std::unique_lock lock(queue_.mutex());
        if (!queue_.hasTasksLocked()) {
            // Woken by a post; the short bound re-checks predicates fed by other threads that
            // do not post to the loop.
            posted_.wait_for(lock, std::chrono::milliseconds(5));
        }
        if (std::chrono::steady_clock::now() > deadline) {
            lock.unlock();
            drain();
            return predicate();
        }
    }
}

bool VRNVirtualRunLoop::hasPendingTimers() {
    return queue_.nextFireTime().has_value();
}

}  // namespace vorna
