#include "flow/VRNCoordinator.h"

#include "flow/VRNInspectBugVM.h"
#include "flow/VRNMessageBannerManager.h"
#include "flow/VRNReportComposeViewModel.h"
#include "flow/VRNReportingDisabledPopupVM.h"
#include "flow/VRNScreenshotVM.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNUploaderProtocol.h"
#include "theme/VRNBranding.h"
#include "vorna/VornaReportData.h"

namespace vorna {

VRNCoordinator::VRNCoordinator(VRNCoordinatorContext context,
                               std::shared_ptr<VRNFlowPlatform> platform)
    : uploader_(context.uploader),
      appRepository_(context.appRepository),
      context_(std::move(context)),
      platform_(std::move(platform)) {}

void VRNCoordinator::setOnCoordinatorFinish(std::function<void()> onFinish) {
    onCoordinatorFinish_ = std::move(onFinish);
}

std::shared_ptr<const VRNBranding> VRNCoordinator::currentBranding() const {
    std::shared_ptr<const VRNBranding> branding;
    if (context_.branding) {
        branding = context_.branding();
    }
    // Screens built before any branding exists still need a look: the built-in one.
    return branding ? branding : std::make_shared<const VRNBranding>();
}

void VRNCoordinator::start() {
    reportData_ = context_.makeReportData ? context_.makeReportData()
                                          : std::make_shared<VRNVornaReportData>();
    if (context_.onPrepareData) {
        reportData_ = context_.onPrepareData(reportData_);
    }
    pushEditImageScreen();
}

void VRNCoordinator::pushEditImageScreen() {
    // Taken before the flow's own window exists, so the flow is never in its own picture.
    VRNImage screenshot = platform_->takeScreenshot();
    auto viewModel = std::make_shared<VRNScreenshotVM>(std::move(screenshot), reportData_);
    auto screen = platform_->makeScreenshotScreen(viewModel, currentBranding());

    navigationController_ = platform_->makeNavigationController(std::move(screen));
    setupNavigationController();

    displayWindow_ =
        platform_->makeWindow(platform_->mainScreenBounds(), platform_->lastWindowLevel() + 1.0);
    displayWindow_->setRootViewController(navigationController_);
    displayWindow_->makeKeyAndVisible();
    VRNWindowAppearance appearance = displayWindow_->appearance();
    appearance.scale = kInitialScale;
    displayWindow_->setAppearance(appearance);

    const std::weak_ptr<VRNCoordinator> weak = weak_from_this();
    viewModel->setOnDidPressNextButton([weak](std::shared_ptr<VRNVornaReportData> data) {
        if (auto self = weak.lock()) {
            self->reportData_ = std::move(data);
            self->pushReportComposeScreen();
        }
    });
    viewModel->setOnDidPressCloseButton([weak] {
        if (auto self = weak.lock()) {
            self->dismiss();
        }
    });

    if (appRepository_ && !appRepository_->applicationActive()) {
        pushReportingDisabledPopup();
    }

    appearance = displayWindow_->appearance();
    appearance.contentAlpha = 0.0;
    displayWindow_->setAppearance(appearance);
    appearance.contentAlpha = 1.0;
    appearance.scale = 1.0;
    displayWindow_->animate(appearance, animationDuration, 0.0, VRNAnimationCurve::EaseOut,
                            nullptr);
}

void VRNCoordinator::pushReportComposeScreen() {
    auto viewModel = std::make_shared<VRNReportComposeViewModel>(reportData_);
    const std::weak_ptr<VRNCoordinator> weak = weak_from_this();
    viewModel->setSubmitButtonPressed(
        [weak](std::shared_ptr<VRNVornaReportData> data, std::optional<std::string> email) {
            auto self = weak.lock();
            if (!self) {
                return;
            }
            // In this order: the e-mail is remembered, the report handed over, the flow closed
            // and the banner shown, whatever becomes of the upload.
            if (email && self->appRepository_) {
                self->appRepository_->setEmailAddress(*email);
            }
            if (self->uploader_) {
                self->uploader_->uploadData(std::move(data));
            }
            self->dismiss();
            if (auto banner = self->platform_->messageBannerManager()) {
                banner->showBanner();
            }
        });
    // The description typed so far survives a trip back to the annotation screen. The callback
    // holds the coordinator weakly: the facade keeps it while its screens are up, and a strong
    // hold from a screen on its own stack would keep the whole flow alive after it closed.
    viewModel->setBackButtonPressed([weak](std::optional<std::string> description) {
        if (auto self = weak.lock()) {
            self->enteredBugDescription_ = std::move(description);
        }
    });
    viewModel->setOnDidPressInspectButton([weak] {
        if (auto self = weak.lock()) {
            self->showInspectBugScreen();
        }
    });
    viewModel->setBugDescription(enteredBugDescription_);
    viewModel->setEmailAddress(appRepository_ ? appRepository_->emailAddress() : std::nullopt);
    navigationController_->pushViewController(platform_->makeReportComposeScreen(viewModel), true);
}

void VRNCoordinator::showInspectBugScreen() {
    auto viewModel = std::make_shared<VRNInspectBugVM>(reportData_);
    navigationController_->pushViewController(
        platform_->makeInspectBugScreen(viewModel, currentBranding()), true);
}

void VRNCoordinator::pushReportingDisabledPopup() {
    auto viewModel = std::make_shared<VRNReportingDisabledPopupVM>();
    const std::weak_ptr<VRNCoordinator> weak = weak_from_this();
    viewModel->setDismissCallback([weak] {
        if (auto self = weak.lock()) {
            self->dismiss();
        }
    });
    navigationController_->presentViewController(platform_->makeReportingDisabledPopup(viewModel),
                                                 false);
}

void VRNCoordinator::dismiss() {
    enteredBugDescription_.reset();
    if (!displayWindow_) {
        return;
    }
    const std::weak_ptr<VRNFlowWindow> window = displayWindow_;
    VRNWindowAppearance target = displayWindow_->appearance();
    target.alpha = 0.0;
    // The facade keeps the coordinator until it hears of the finish; the window keeps the
    // completion, so the completion holds the coordinator weakly.
    displayWindow_->animate(target, animationDuration, 0.0, VRNAnimationCurve::EaseIn,
                            [window, weak = weak_from_this()](bool) {
                                if (auto shown = window.lock()) {
                                    shown->setHidden(true);
                                }
                                auto self = weak.lock();
                                if (self && self->onCoordinatorFinish_) {
                                    // A copy: the callback may let go of the coordinator.
                                    const auto finish = self->onCoordinatorFinish_;
                                    finish();
                                }
                            });
}

void VRNCoordinator::setupNavigationController() {
    navigationController_->setBarAppearance(true, true, VRNColor::withRGB(255, 255, 255));
}

}  // namespace vorna
