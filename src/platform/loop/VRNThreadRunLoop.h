#pragma once

#include <chrono>
#include <condition_variable>
#include <string>
#include <thread>

#include "platform/loop/VRNRunLoop.h"
#include "platform/loop/VRNTimerQueue.h"

namespace vorna {

// A run loop on a thread of its own: the main loop of hosts that have no UI toolkit.
class VRNThreadRunLoop : public VRNRunLoop {
public:
    explicit VRNThreadRunLoop(std::string name = "vorna-main");
    ~VRNThreadRunLoop() override;
    VRNThreadRunLoop(const VRNThreadRunLoop&) = delete;
    VRNThreadRunLoop& operator=(const VRNThreadRunLoop&) = delete;

    void post(std::function<void()> task) override;
    VRNTimerPtr scheduleTimer(double interval, bool repeats, std::function<void()> block) override;
    bool isCurrent() const override;

private:
    double now() const;
    void run();

    VRNTimerQueue queue_;
    std::condition_variable wake_;
    bool stopping_ = false;  // guarded by queue_.mutex()
    const std::chrono::steady_clock::time_point epoch_;
    std::thread thread_;
};

}  // namespace vorna
