#pragma once

#include <functional>
#include <memory>

#include "flow/VRNGeometry.h"
#include "platform/VRNImage.h"
#include "theme/VRNColor.h"

namespace vorna {

class VRNBranding;
class VRNInspectBugVM;
class VRNMessageBannerManager;
class VRNReportComposeVMProtocol;
class VRNReportingDisabledPopupVMProtocol;
class VRNScreenshotVMProtocol;

// Timing curves of the flow's animations, with the toolkits' raw values.
enum class VRNAnimationCurve { EaseInOut = 0, EaseIn = 1, EaseOut = 2, Linear = 3 };

// What an animation of the flow's window changes: the window's alpha, its scale about its centre
// (its transform) and the alpha of the navigation controller's view inside it.
struct VRNWindowAppearance {
    double alpha = 1;
    double scale = 1;
    double contentAlpha = 1;

    bool operator==(const VRNWindowAppearance&) const = default;
};

// One screen of the flow (a view controller), made by the toolkit around its view model. The
// screen owns its view model; the coordinator holds screens only through the navigation stack.
class VRNFlowScreen {
public:
    virtual ~VRNFlowScreen() = default;
};

// The stack of the flow's screens, with a bar on top.
class VRNNavigationController {
public:
    virtual ~VRNNavigationController() = default;
    // The bar's look: `invisible` leaves it without background and shadow, `translucent` lets
    // the screens run under it, `tint` colours its buttons.
    virtual void setBarAppearance(bool invisible, bool translucent, const VRNColor& tint) = 0;
    virtual void pushViewController(std::shared_ptr<VRNFlowScreen> screen, bool animated) = 0;
    // Shows `screen` over the current one, which stays visible where it draws nothing.
    virtual void presentViewController(std::shared_ptr<VRNFlowScreen> screen, bool animated) = 0;
};

// The flow's own window, above every window of the host.
class VRNFlowWindow {
public:
    virtual ~VRNFlowWindow() = default;
    virtual void setRootViewController(std::shared_ptr<VRNNavigationController> controller) = 0;
    // Shows the window in front and gives it the keyboard.
    virtual void makeKeyAndVisible() = 0;
    virtual void setHidden(bool hidden) = 0;
    virtual bool isHidden() const = 0;
    virtual VRNRect frame() const = 0;
    virtual double windowLevel() const = 0;

    virtual VRNWindowAppearance appearance() const = 0;
    virtual void setAppearance(const VRNWindowAppearance& appearance) = 0;
    // Moves from the appearance now to `target` over `duration` seconds after `delay`, on the
    // timing curve; `completion` (may be empty) runs on the main loop when it is over, with true
    // unless the animation was cut short. The window takes no input while it animates.
    virtual void animate(const VRNWindowAppearance& target, double duration, double delay,
                         VRNAnimationCurve curve, std::function<void(bool)> completion) = 0;
};

// The banner's window: made shown, hidden and shown again by the banner manager.
class VRNBannerWindow {
public:
    virtual ~VRNBannerWindow() = default;
    virtual void setHidden(bool hidden) = 0;
    virtual bool isHidden() const = 0;
};

// What the report flow needs of a UI toolkit: windows, a navigation stack, the four screens
// and the picture of the application. Everything is called on the main loop.
class VRNFlowPlatform {
public:
    virtual ~VRNFlowPlatform() = default;

    // The picture of the application now; an empty image when there is no screen.
    virtual VRNImage takeScreenshot() = 0;
    // The area the flow covers: on a phone the main screen; on a desktop the available area of
    // the screen the tester works on. An empty rectangle without a screen.
    virtual VRNRect mainScreenBounds() const = 0;
    // The level of the last of the application's windows (the kit's own included).
    virtual double lastWindowLevel() const = 0;

    virtual std::shared_ptr<VRNFlowWindow> makeWindow(const VRNRect& frame, double level) = 0;
    virtual std::shared_ptr<VRNNavigationController> makeNavigationController(
        std::shared_ptr<VRNFlowScreen> root) = 0;
    virtual std::shared_ptr<VRNFlowScreen> makeScreenshotScreen(
        std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
        std::shared_ptr<const VRNBranding> branding) = 0;
    virtual std::shared_ptr<VRNFlowScreen> makeReportComposeScreen(
        std::shared_ptr<VRNReportComposeVMProtocol> viewModel) = 0;
    virtual std::shared_ptr<VRNFlowScreen> makeInspectBugScreen(
        std::shared_ptr<VRNInspectBugVM> viewModel,
        std::shared_ptr<const VRNBranding> branding) = 0;
    virtual std::shared_ptr<VRNFlowScreen> makeReportingDisabledPopup(
        std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel) = 0;

    // The process's banner manager, made (with its window, shown) on first use.
    virtual std::shared_ptr<VRNMessageBannerManager> messageBannerManager() = 0;
};

}  // namespace vorna
