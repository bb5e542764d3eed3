#pragma once

#include <memory>
#include <thread>

#include "platform/loop/VRNRunLoop.h"

namespace vorna {

// The kit's main run loop on Qt's GUI thread: posted tasks run there one at a time, in the
// order of posting, through queued invocations; timers are QTimers. Tasks may be posted and
// timers scheduled from any thread. Once the application object is gone, tasks posted later
// are dropped and runSync returns without running its task.
class VRNQtRunLoop : public VRNRunLoop {
public:
    // Binds to the application object that exists now and to the calling thread, which must be
    // the application's own.
    VRNQtRunLoop();
    ~VRNQtRunLoop() override;
    VRNQtRunLoop(const VRNQtRunLoop&) = delete;
    VRNQtRunLoop& operator=(const VRNQtRunLoop&) = delete;

    void post(std::function<void()> task) override;
    VRNTimerPtr scheduleTimer(double interval, bool repeats, std::function<void()> block) override;
    bool isCurrent() const override;

    // The application object is going away: from now on nothing reaches the GUI thread.
    void detach();

    struct Shared;

private:
    std::shared_ptr<Shared> shared_;
    const std::thread::id thread_;
};

}  // namespace vorna
