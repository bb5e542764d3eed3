#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "flow/VRNFlowPlatform.h"

namespace vorna {

class VRNRunLoop;

// "Bug submitted successfully.": the banner a submitted report leaves on screen for a few
// seconds, in a window of its own. The window is made shown when the manager is made, so the
// first banner of a process shows at once.
class VRNMessageBannerManager {
public:
    using WindowFactory = std::function<std::shared_ptr<VRNBannerWindow>()>;

    VRNMessageBannerManager(std::shared_ptr<VRNRunLoop> runLoop, WindowFactory makeWindow);

    void setupBannerWindow();
    // 0.5 s after the call the window is shown, 3.0 s after it hidden. Every call schedules
    // both steps on its own, so two calls within three seconds interleave: the first call's
    // hide may end the second banner early.
    void showBanner();

    std::shared_ptr<VRNBannerWindow> bannerWindow() const;

private:
    std::shared_ptr<VRNRunLoop> runLoop_;
    WindowFactory makeWindow_;
    mutable std::mutex mutex_;
    std::shared_ptr<VRNBannerWindow> bannerWindow_;
    // Held weakly by the scheduled steps: a step after the manager is gone does nothing.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace vorna
