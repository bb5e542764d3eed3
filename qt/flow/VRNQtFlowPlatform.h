#pragma once

#include <QRect>

#include <functional>
#include <memory>
#include <mutex>

#include "flow/VRNFlowPlatform.h"

namespace vorna {

class VRNRunLoop;

// The report flow's windows and screens on Qt Widgets.
//
// On a desktop "the main screen's bounds" are the available area (without panels and docks)
// of the screen that holds the host's active window, or of the primary screen when no host
// window is active: the flow covers what the tester works on, not every screen of the desk.
class VRNQtFlowPlatform : public VRNFlowPlatform {
public:
    using ScreenArea = std::function<QRect()>;

    // `screenArea` answers the flow's area (by default as said above); `bannerLoop` runs the
    // banner's timing (by default the kit's main loop).
    explicit VRNQtFlowPlatform(ScreenArea screenArea = nullptr,
                               std::shared_ptr<VRNRunLoop> bannerLoop = nullptr);

    static QRect activeScreenArea();

    VRNImage takeScreenshot() override;
    VRNRect mainScreenBounds() const override;
    double lastWindowLevel() const override;
    std::shared_ptr<VRNFlowWindow> makeWindow(const VRNRect& frame, double level) override;
    std::shared_ptr<VRNNavigationController> makeNavigationController(
        std::shared_ptr<VRNFlowScreen> root) override;
    std::shared_ptr<VRNFlowScreen> makeScreenshotScreen(
        std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
        std::shared_ptr<const VRNBranding> branding) override;
    std::shared_ptr<VRNFlowScreen> makeReportComposeScreen(
        std::shared_ptr<VRNReportComposeVMProtocol> viewModel) override;
    std::shared_ptr<VRNFlowScreen> makeInspectBugScreen(
        std::shared_ptr<VRNInspectBugVM> viewModel,
        std::shared_ptr<const VRNBranding> branding) override;
    std::shared_ptr<VRNFlowScreen> makeReportingDisabledPopup(
        std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel) override;
    std::shared_ptr<VRNMessageBannerManager> messageBannerManager() override;

private:
    ScreenArea screenArea_;
    std::shared_ptr<VRNRunLoop> bannerLoop_;
    std::mutex mutex_;
    std::shared_ptr<VRNMessageBannerManager> bannerManager_;
};

}  // namespace vorna
