#include "flow/VRNMessageBannerManager.h"

#include "platform/loop/VRNRunLoop.h"

namespace vorna {
namespace {

constexpr double kShowAfter = 0.5;
constexpr double kHideAfter = 3.0;

}  // namespace

VRNMessageBannerManager::VRNMessageBannerManager(std::shared_ptr<VRNRunLoop> runLoop,
                                                 WindowFactory makeWindow)
    : runLoop_(std::move(runLoop)), makeWindow_(std::move(makeWindow)) {
    setupBannerWindow();
}

void VRNMessageBannerManager::setupBannerWindow() {
    auto window = makeWindow_ ? makeWindow_() : nullptr;
    if (window) {
        window->setHidden(false);
    }
    std::lock_guard lock(mutex_);
    bannerWindow_ = std::move(window);
}

std::shared_ptr<VRNBannerWindow> VRNMessageBannerManager::bannerWindow() const {
    std::lock_guard lock(mutex_);
    return bannerWindow_;
}

void VRNMessageBannerManager::showBanner() {
    const auto step = [this, alive = std::weak_ptr<bool>(alive_)](bool hidden) {
        return [this, alive, hidden] {
            if (!alive.lock()) {
                return;
            }
            if (auto window = bannerWindow()) {
                window->setHidden(hidden);
            }
        };
    };
    runLoop_->scheduleTimer(kShowAfter, false, step(false));
    runLoop_->scheduleTimer(kHideAfter, false, step(true));
}

}  // namespace vorna
