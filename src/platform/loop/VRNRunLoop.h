#pragma once

#include <functional>
#include <memory>

namespace vorna {

// A scheduled timer. Invalidating it guarantees that its block does not start afterwards; a
// block that is already running finishes.
class VRNTimer {
public:
    virtual ~VRNTimer() = default;
    virtual void invalidate() = 0;
    virtual bool isValid() const = 0;
};

using VRNTimerPtr = std::shared_ptr<VRNTimer>;

// The loop the kit treats as the host's main thread: the facade, the screens, the black box
// timers, the retry timers and the reachability callbacks run here, one task at a time.
class VRNRunLoop {
public:
    virtual ~VRNRunLoop() = default;

    // Runs the task later, on the loop, in the order of posting.
    virtual void post(std::function<void()> task) = 0;
    // Runs the task on the loop and returns when it has run; inline when already on the loop.
    // A loop that drops the task instead of running it (one whose toolkit has gone) lets the
    // call return without it. Built on post and isCurrent.
    virtual void runSync(std::function<void()> task);
    // One-shot (repeats = false) or repeating timer, first firing after `interval` seconds.
    virtual VRNTimerPtr scheduleTimer(double interval, bool repeats,
                                      std::function<void()> block) = 0;
    // True when the calling thread is the loop's thread.
    virtual bool isCurrent() const = 0;

    // The process-wide main loop. Hosts with a UI toolkit install the toolkit's loop before
    // starting the kit; without one, a loop on a thread of its own is created on first use.
    static std::shared_ptr<VRNRunLoop> main();
    static void setMain(std::shared_ptr<VRNRunLoop> loop);
};

}  // namespace vorna
