#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "connectivity/VRNReachability.h"
#include "platform/loop/VRNRunLoop.h"

namespace vorna::test {

// Reachability whose flags the test sets; change() delivers a change on the scheduled loop,
// as the system does.
class FakeReachability : public VRNReachability {
public:
    struct Shared {
        std::mutex mutex;
        std::optional<uint32_t> flags = kVRNReachabilityReachable;
        std::function<void()> callback;
        std::shared_ptr<VRNRunLoop> loop;
        int schedules = 0;
    };

    explicit FakeReachability(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

    std::optional<uint32_t> flags() override {
        std::lock_guard lock(shared_->mutex);
        return shared_->flags;
    }
    bool setCallback(std::function<void()> callback) override {
        std::lock_guard lock(shared_->mutex);
        shared_->callback = std::move(callback);
        return true;
    }
    bool scheduleWithRunLoop(std::shared_ptr<VRNRunLoop> loop) override {
        std::lock_guard lock(shared_->mutex);
        shared_->loop = std::move(loop);
        ++shared_->schedules;
        return true;
    }
    void unscheduleFromRunLoop() override {
        std::lock_guard lock(shared_->mutex);
        shared_->loop.reset();
    }

    static void set(const std::shared_ptr<Shared>& shared, std::optional<uint32_t> flags) {
        std::lock_guard lock(shared->mutex);
        shared->flags = flags;
    }
    // The system reports a change: delivered on the loop when monitoring, lost otherwise.
    static void change(const std::shared_ptr<Shared>& shared, std::optional<uint32_t> flags) {
        std::shared_ptr<VRNRunLoop> loop;
        std::function<void()> callback;
        {
            std::lock_guard lock(shared->mutex);
            shared->flags = flags;
            loop = shared->loop;
            callback = shared->callback;
        }
        if (loop && callback) {
            loop->post(callback);
        }
    }

private:
    std::shared_ptr<Shared> shared_;
};

}  // namespace vorna::test
