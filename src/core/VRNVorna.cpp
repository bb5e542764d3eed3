// The host's interface: class methods that hand their work to the shared instance on the kit's
// main run loop.
#include "vorna/Vorna.h"

#include "core/VRNDefaultCollaborators.h"
#include "core/VRNVornaInstance.h"
#include "platform/loop/VRNApplicationState.h"
#include "platform/storage/VRNBundle.h"
#include "report/VRNDeclaredPermissions.h"
#include "storage/VRNDeliveryLedger.h"

namespace vorna {
namespace {

// The state the host last reported through the life-cycle calls; main loop only. A host starts
// in the front.
VRNApplicationState hostState = VRNApplicationState::Active;

void moveHostTo(VRNApplicationState next, const char* where) {
    auto self = VRNVornaInstance::shared();
    self->runOnMain([self, next, where] {
        const auto names = VRNNotificationsForTransition(hostState, next);
        if (names.empty()) {
            VRNLog("VRNVorna - The host is already in the %s, nothing to post", where);
            return;
        }
        if (!self->started()) {
            VRNLog("VRNVorna - The host entered the %s before the kit was started: nothing "
                   "follows it yet, the state is kept for later calls",
                   where);
        }
        hostState = next;
        for (const char* name : names) {
            self->notificationCenter().post(name);
        }
    });
}

}  // namespace

std::shared_ptr<VRNVorna> VRNVorna::sharedInstance() {
    return VRNVornaInstance::shared();
}

void VRNVorna::setInfoPlistPath(const std::string& path) {
    VRNBundle::setMainInfoPlistPath(path);
}

void VRNVorna::start() {
    startWithInvocationEvents(VornaInvocationEventMotion);
}

void VRNVorna::startWithInvocationEvents(VornaInvocationEvent events) {
    auto self = VRNVornaInstance::shared();
    self->runOnMain([self, events] { self->performStart(events); });
}

void VRNVorna::manualStart() {
    auto self = VRNVornaInstance::shared();
    self->runOnMain([self] { self->display(); });
}

void VRNVorna::setBlackBoxEnabled(bool enabled) {
    VRNVornaInstance::shared()->runOnMain([enabled] { VRNSetBlackBoxEnabled(enabled); });
}

void VRNVorna::autoReportWithAttachScreenshot(bool attachScreenshot,
                                              const std::optional<std::string>& description) {
    auto self = VRNVornaInstance::shared();
    self->runOnMain([self, attachScreenshot, description] {
        self->performAutoReport(attachScreenshot, description);
    });
}

void VRNVorna::autoReportWithAttachScreenshot(bool attachScreenshot) {
    autoReportWithAttachScreenshot(attachScreenshot, std::string());
}

void VRNVorna::autoReportWithDescription(const std::optional<std::string>& description) {
    autoReportWithAttachScreenshot(false, description);
}

void VRNVorna::autoReport() {
    autoReportWithAttachScreenshot(false, std::string());
}

void VRNVorna::hostWillEnterForeground() {
    moveHostTo(VRNApplicationState::Active, "foreground");
}

void VRNVorna::hostDidEnterBackground() {
    moveHostTo(VRNApplicationState::Background, "background");
}

void VRNVorna::setGrantedPermissions(const std::map<std::string, std::string>& permissions) {
    VRNDeclaredPermissions::declare(permissions);
}

bool VRNVorna::waitForDelivery(std::chrono::milliseconds timeout) {
    return VRNVornaInstance::shared()->performWaitForDelivery(timeout);
}

VRNDeliveryObservation VRNVorna::observeDelivery(VRNDeliveryObserver observer) {
    return VRNDeliveryObservation(VRNDeliveryLedger::shared()->addObserver(std::move(observer)));
}

void VRNDeliveryObservation::reset() {
    if (token_ != 0) {
        VRNDeliveryLedger::shared()->removeObserver(token_);
        token_ = 0;
    }
}

}  // namespace vorna
