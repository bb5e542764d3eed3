#include "platform/loop/VRNThreadRunLoop.h"

#include <pthread.h>


namespace vorna {

VRNThreadRunLoop::VRNThreadRunLoop(std::string name)
    : epoch_(std::chrono::steady_clock::now()), thread_([this] { run(); }) {
    // Thread names are limited to 15 characters on Linux.
    pthread_setname_np(thread_.native_handle(), name.substr(0, 15).c_str());
}

VRNThreadRunLoop::~VRNThreadRunLoop() {
    {
        std::lock_guard lock(queue_.mutex());
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }
}

double VRNThreadRunLoop::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - epoch_).count();
}

void VRNThreadRunLoop::post(std::function<void()> task) {
    queue_.post(std::move(task));
    wake_.notify_all();
}

VRNTimerPtr VRNThreadRunLoop::scheduleTimer(double interval, bool repeats,
                                            std::function<void()> block) {
    auto timer = queue_.schedule(now(), interval, repeats, std::move(block));
    wake_.notify_all();
    return timer;
}

bool VRNThreadRunLoop::isCurrent() const {
    return std::this_thread::get_id() == thread_.get_id();
}

void VRNThreadRunLoop::run() {
    for (;;) {
        // The generation is read before looking for work, so that anything posted or scheduled
        // after the look wakes the sleep below instead of being slept through.
        uint64_t seen;
        {
            std::lock_guard lock(queue_.mutex());
            if (stopping_) {
                return;
            }
            seen = queue_.generationLocked();
        }
        if (auto task = queue_.takeTask()) {
            (*task)();
            continue;
        }
        if (auto due = queue_.takeDueTimer(now())) {
            queue_.runTimer(*due);
            continue;
        }
        const auto next = queue_.nextFireTime();
        std::unique_lock lock(queue_.mutex());
        auto ready = [&] { return stopping_ || queue_.generationLocked() != seen; };
        if (next) {
            const auto deadline =
                epoch_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                             std::chrono::duration<double>(*next));
            wake_.wait_until(lock, deadline, ready);
        } else {
            wake_.wait(lock, ready);
        }
    }
}

}  // namespace vorna
