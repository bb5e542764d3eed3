#include "platform/loop/VRNDispatchQueue.h"

#include <pthread.h>

#include <future>

namespace vorna {

VRNDispatchQueue::VRNDispatchQueue(std::string label)
    : label_(std::move(label)), thread_([state = state_] { run(state); }) {
    pthread_setname_np(thread_.native_handle(), label_.substr(0, 15).c_str());
}

VRNDispatchQueue::~VRNDispatchQueue() {
    {
        std::lock_guard lock(state_->mutex);
        state_->stopping = true;
    }
    state_->changed.notify_all();
    if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();
    } else if (thread_.joinable()) {
        thread_.join();
    }
}

void VRNDispatchQueue::async(std::function<void()> task) {
    {
        std::lock_guard lock(state_->mutex);
        state_->tasks.push_back(std::move(task));
    }
    state_->changed.notify_all();
}

void VRNDispatchQueue::sync(const std::function<void()>& task) {
    if (isCurrent()) {
        task();
        return;
    }
    std::promise<void> done;
    auto finished = done.get_future();
    async([&] {
        task();
        done.set_value();
    });
    finished.wait();
}

bool VRNDispatchQueue::isCurrent() const {
    return std::this_thread::get_id() == thread_.get_id();
}

void VRNDispatchQueue::waitUntilIdle() {
    if (isCurrent()) {
        return;
    }
    sync([] {});
}

void VRNDispatchQueue::run(const std::shared_ptr<State>& state) {
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock lock(state->mutex);
            state->changed.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
            if (state->tasks.empty()) {
                return;
            }
            task = std::move(state->tasks.front());
            state->tasks.pop_front();
        }
        task();
    }
}

void VRNSemaphore::signal() {
    // Notified under the lock: a waiter that owns the semaphore may wake and destroy it as soon
    // as the lock is released.
    std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_one();
}

void VRNSemaphore::wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return count_ > 0; });
    --count_;
}

bool VRNSemaphore::waitFor(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, timeout, [&] { return count_ > 0; })) {
        return false;
    }
    --count_;
    return true;
}

void VRNDispatchGroup::enter() {
    std::lock_guard lock(mutex_);
    ++outstanding_;
}

void VRNDispatchGroup::leave() {
    // Under the lock, for the same reason as VRNSemaphore::signal.
    std::lock_guard lock(mutex_);
    --outstanding_;
    changed_.notify_all();
}

void VRNDispatchGroup::wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return outstanding_ <= 0; });
}

bool VRNDispatchGroup::waitFor(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return outstanding_ <= 0; });
}

}  // namespace vorna
