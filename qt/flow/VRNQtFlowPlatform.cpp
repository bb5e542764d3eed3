#include "qt/flow/VRNQtFlowPlatform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include "flow/VRNMessageBannerManager.h"
#include "platform/loop/VRNRunLoop.h"
#include "qt/flow/VRNFlowDisplayWindow.h"
#include "qt/flow/VRNInspectBugVC.h"
#include "qt/flow/VRNMessageBannerWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNReportComposeViewController.h"
#include "qt/flow/VRNReportingDisabledPopupVC.h"
#include "qt/flow/VRNScreenshotVC.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {
namespace {

QRect toQRect(const VRNRect& rect) {
    return QRect(static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
                 static_cast<int>(rect.height));
}

}  // namespace

VRNQtFlowPlatform::VRNQtFlowPlatform(ScreenArea screenArea, std::shared_ptr<VRNRunLoop> bannerLoop)
    : screenArea_(screenArea ? std::move(screenArea) : ScreenArea(activeScreenArea)),
      bannerLoop_(std::move(bannerLoop)) {}

QRect VRNQtFlowPlatform::activeScreenArea() {
    QScreen* screen = nullptr;
    if (QWidget* key = VRNWindowStack::keyWindow()) {
        screen = key->screen();
    }
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    return screen ? screen->availableGeometry() : QRect();
}

VRNImage VRNQtFlowPlatform::takeScreenshot() {
    return VRNScreenshotService::sharedInstance()->takeScreenshot();
}

VRNRect VRNQtFlowPlatform::mainScreenBounds() const {
    const QRect area = screenArea_();
    return VRNRect{static_cast<double>(area.x()), static_cast<double>(area.y()),
                   static_cast<double>(area.width()), static_cast<double>(area.height())};
}

double VRNQtFlowPlatform::lastWindowLevel() const {
    const QList<QWidget*> windows = VRNWindowStack::windows();
    double level = VRNWindowStack::VRNWindowLevelNormal;
    for (QWidget* window : windows) {
        level = std::max(level, VRNWindowStack::windowLevel(window));
    }
    return level;
}

std::shared_ptr<VRNFlowWindow> VRNQtFlowPlatform::makeWindow(const VRNRect& frame, double level) {
    auto window = std::make_shared<VRNFlowDisplayWindow>(level);
    window->setGeometry(toQRect(frame));
    return window;
}

std::shared_ptr<VRNNavigationController> VRNQtFlowPlatform::makeNavigationController(
    std::shared_ptr<VRNFlowScreen> root) {
    return std::make_shared<VRNNavigationStack>(std::dynamic_pointer_cast<VRNViewController>(root));
}

std::shared_ptr<VRNFlowScreen> VRNQtFlowPlatform::makeScreenshotScreen(
    std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
    std::shared_ptr<const VRNBranding> branding) {
    return std::make_shared<VRNScreenshotVC>(std::move(viewModel), std::move(branding));
}

std::shared_ptr<VRNFlowScreen> VRNQtFlowPlatform::makeReportComposeScreen(
    std::shared_ptr<VRNReportComposeVMProtocol> viewModel) {
    return std::make_shared<VRNReportComposeViewController>(std::move(viewModel));
}

std::shared_ptr<VRNFlowScreen> VRNQtFlowPlatform::makeInspectBugScreen(
    std::shared_ptr<VRNInspectBugVM> viewModel, std::shared_ptr<const VRNBranding> branding) {
    return std::make_shared<VRNInspectBugVC>(std::move(viewModel), std::move(branding));
}

std::shared_ptr<VRNFlowScreen> VRNQtFlowPlatform::makeReportingDisabledPopup(
    std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel) {
    return std::make_shared<VRNReportingDisabledPopupVC>(std::move(viewModel));
}

std::shared_ptr<VRNMessageBannerManager> VRNQtFlowPlatform::messageBannerManager() {
    std::lock_guard lock(mutex_);
    if (!bannerManager_) {
        // One banner window for the application, made (and shown) with the manager.
        bannerManager_ = std::make_shared<VRNMessageBannerManager>(
            bannerLoop_ ? bannerLoop_ : VRNRunLoop::main(), [this] {
                return std::make_shared<VRNMessageBannerWindow>(toQRect(mainScreenBounds()));
            });
    }
    return bannerManager_;
}

}  // namespace vorna
