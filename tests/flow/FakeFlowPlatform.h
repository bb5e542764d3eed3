#pragma once

#include <memory>
#include <string>
#include <vector>

#include "flow/VRNFlowPlatform.h"
#include "flow/VRNInspectBugVM.h"
#include "flow/VRNMessageBannerManager.h"
#include "flow/VRNReportComposeViewModel.h"
#include "flow/VRNReportingDisabledPopupVM.h"
#include "flow/VRNScreenshotVM.h"
#include "platform/loop/VRNVirtualRunLoop.h"

namespace vorna::test {

// What the coordinator did, in order, as words ("window", "animate alpha 0", "banner", ...).
using EventLog = std::vector<std::string>;

// A screen of the fake toolkit: which one it is and the view model it was made around.
struct FakeScreen : VRNFlowScreen {
    std::string kind;
    std::shared_ptr<VRNScreenshotVMProtocol> screenshot;
    std::shared_ptr<VRNReportComposeVMProtocol> compose;
    std::shared_ptr<VRNInspectBugVM> inspect;
    std::shared_ptr<VRNReportingDisabledPopupVMProtocol> popup;
    std::shared_ptr<const VRNBranding> branding;
};

struct FakeNavigation : VRNNavigationController {
    explicit FakeNavigation(std::shared_ptr<VRNFlowScreen> root) {
        stack.push_back(std::move(root));
    }
    void setBarAppearance(bool invisibleBar, bool translucentBar,
                          const VRNColor& tintColor) override {
        invisible = invisibleBar;
        translucent = translucentBar;
        tint = tintColor;
    }
    void pushViewController(std::shared_ptr<VRNFlowScreen> screen, bool animatedPush) override {
        stack.push_back(std::move(screen));
        animated.push_back(animatedPush);
    }
    void presentViewController(std::shared_ptr<VRNFlowScreen> screen, bool animatedPush) override {
        presented = std::move(screen);
        presentedAnimated = animatedPush;
    }
    FakeScreen& top() const { return static_cast<FakeScreen&>(*stack.back()); }
    // What a screen's back button does: the top screen goes.
    void pop() { stack.pop_back(); }

    std::vector<std::shared_ptr<VRNFlowScreen>> stack;
    std::vector<bool> animated;
    std::shared_ptr<VRNFlowScreen> presented;
    bool presentedAnimated = true;
    bool invisible = false;
    bool translucent = false;
    VRNColor tint;
};

// A window whose animations end on the virtual clock.
struct FakeWindow : VRNFlowWindow {
    FakeWindow(VRNRect frameIn, double levelIn, std::shared_ptr<VRNVirtualRunLoop> loopIn,
               EventLog& logIn)
        : frameRect(frameIn), level(levelIn), loop(std::move(loopIn)), log(logIn) {}

    void setRootViewController(std::shared_ptr<VRNNavigationController> controller) override {
        root = std::move(controller);
    }
    void makeKeyAndVisible() override {
        hidden = false;
        log.push_back("key and visible");
    }
    void setHidden(bool value) override {
        hidden = value;
        log.push_back(value ? "hidden" : "shown");
    }
    bool isHidden() const override { return hidden; }
    VRNRect frame() const override { return frameRect; }
    double windowLevel() const override { return level; }
    VRNWindowAppearance appearance() const override { return look; }
    void setAppearance(const VRNWindowAppearance& value) override { look = value; }
    void animate(const VRNWindowAppearance& target, double duration, double delay,
                 VRNAnimationCurve curve, std::function<void(bool)> completion) override {
        animations.push_back({target, duration, delay, curve});
        log.push_back("animate alpha " + std::to_string(static_cast<int>(target.alpha)));
        loop->scheduleTimer(delay + duration, false,
                            [this, target, completion = std::move(completion)] {
                                look = target;
                                if (completion) {
                                    completion(true);
                                }
                            });
    }

    struct Animation {
        VRNWindowAppearance target;
        double duration;
        double delay;
        VRNAnimationCurve curve;
    };
    VRNRect frameRect;
    double level;
    std::shared_ptr<VRNVirtualRunLoop> loop;
    EventLog& log;
    std::shared_ptr<VRNNavigationController> root;
    bool hidden = true;
    VRNWindowAppearance look;
    std::vector<Animation> animations;
};

struct FakeBannerWindow : VRNBannerWindow {
    void setHidden(bool value) override {
        hidden = value;
        changes.push_back(value);
    }
    bool isHidden() const override { return hidden; }
    bool hidden = true;
    std::vector<bool> changes;
};

class FakeFlowPlatform : public VRNFlowPlatform {
public:
    explicit FakeFlowPlatform(std::shared_ptr<VRNVirtualRunLoop> loopIn)
        : loop(std::move(loopIn)) {}

    VRNImage takeScreenshot() override {
        log.push_back("screenshot");
        return screenshot;
    }
    VRNRect mainScreenBounds() const override { return bounds; }
    double lastWindowLevel() const override { return lastLevel; }
    std::shared_ptr<VRNFlowWindow> makeWindow(const VRNRect& frame, double level) override {
        log.push_back("window");
        auto window = std::make_shared<FakeWindow>(frame, level, loop, log);
        windows.push_back(window);
        return window;
    }
    std::shared_ptr<VRNNavigationController> makeNavigationController(
        std::shared_ptr<VRNFlowScreen> root) override {
        auto navigation = std::make_shared<FakeNavigation>(std::move(root));
        navigations.push_back(navigation);
        return navigation;
    }
    std::shared_ptr<VRNFlowScreen> makeScreenshotScreen(
        std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
        std::shared_ptr<const VRNBranding> branding) override {
        auto screen = std::make_shared<FakeScreen>();
        screen->kind = "annotation";
        screen->screenshot = std::move(viewModel);
        screen->branding = std::move(branding);
        return screen;
    }
    std::shared_ptr<VRNFlowScreen> makeReportComposeScreen(
        std::shared_ptr<VRNReportComposeVMProtocol> viewModel) override {
        auto screen = std::make_shared<FakeScreen>();
        screen->kind = "compose";
        screen->compose = std::move(viewModel);
        return screen;
    }
    std::shared_ptr<VRNFlowScreen> makeInspectBugScreen(
        std::shared_ptr<VRNInspectBugVM> viewModel,
        std::shared_ptr<const VRNBranding> branding) override {
        auto screen = std::make_shared<FakeScreen>();
        screen->kind = "inspect";
        screen->inspect = std::move(viewModel);
        screen->branding = std::move(branding);
        return screen;
    }
    std::shared_ptr<VRNFlowScreen> makeReportingDisabledPopup(
        std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel) override {
        auto screen = std::make_shared<FakeScreen>();
        screen->kind = "popup";
        screen->popup = std::move(viewModel);
        return screen;
    }
    std::shared_ptr<VRNMessageBannerManager> messageBannerManager() override {
        log.push_back("banner");
        if (!banner) {
            banner =
                std::make_shared<VRNMessageBannerManager>(loop, [this] { return bannerWindow; });
        }
        return banner;
    }

    std::shared_ptr<VRNVirtualRunLoop> loop;
    EventLog log;
    VRNImage screenshot = VRNImage::filled(4, 8, 2, 255, 0, 0);
    VRNRect bounds{0, 0, 375, 812};
    double lastLevel = 1;
    std::vector<std::shared_ptr<FakeWindow>> windows;
    std::vector<std::shared_ptr<FakeNavigation>> navigations;
    std::shared_ptr<FakeBannerWindow> bannerWindow = std::make_shared<FakeBannerWindow>();
    std::shared_ptr<VRNMessageBannerManager> banner;
};

}  // namespace vorna::test
