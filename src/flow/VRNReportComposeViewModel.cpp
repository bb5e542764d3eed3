#include "flow/VRNReportComposeViewModel.h"

#include "platform/VRNLocalizedString.h"
#include "state/VRNConstants.h"
#include "vorna/VornaReportData.h"

namespace vorna {

std::vector<VRNImage> VRNAttachmentImages(const VRNVornaReportData* reportData) {
    std::vector<VRNImage> images;
    if (!reportData || !reportData->screenshotFile()) {
        return images;
    }
    const auto& data = reportData->screenshotFile()->data();
    if (data && !data->empty()) {
        images.push_back(VRNImageWithData(*data));
    }
    return images;
}

VRNReportComposeViewModel::VRNReportComposeViewModel(std::shared_ptr<VRNVornaReportData> reportData,
                                                     VRNNotificationCenter& center)
    : brandingRefresCallback_(std::make_shared<std::function<void()>>()),
      reportData_(std::move(reportData)) {
    // The observer holds the callback, not the view model: a post under way on another thread
    // while the view model goes calls at worst a callback that is already empty.
    brandingObserver_ = center.subscribe(kVRNBrandingUpdatedNotification,
                                         [callback = std::weak_ptr<std::function<void()>>(
                                              brandingRefresCallback_)](const VRNNotification&) {
                                             if (auto strong = callback.lock(); strong && *strong) {
                                                 (*strong)();
                                             }
                                         });
}

void VRNReportComposeViewModel::didPressSubmitButton(
    const std::string& description, const std::optional<std::string>& emailAddress) {
    VRNGatheredDataDict dict;
    if (reportData_ && reportData_->gatheredDataDict()) {
        dict = *reportData_->gatheredDataDict();
    }
    // Compared with the placeholder as the tester saw it, in the host's language.
    if (description != VRNLocalizedString(kVRNDescriptionPlaceholder)) {
        dict[kVRNUserInput] = description;
    }
    if (emailAddress) {
        dict[kVRNUserEmail] = *emailAddress;
    }
    if (reportData_) {
        reportData_->setGatheredDataDict(std::move(dict));
    }
    if (submitButtonPressed_) {
        submitButtonPressed_(reportData_, emailAddress);
    }
}

void VRNReportComposeViewModel::didPressBackButton(const std::optional<std::string>& description) {
    if (backButtonPressed_) {
        backButtonPressed_(description);
    }
}

void VRNReportComposeViewModel::didPressInspectButton() {
    if (onDidPressInspectButton_) {
        onDidPressInspectButton_();
    }
}

std::vector<VRNImage> VRNReportComposeViewModel::attachments() const {
    return VRNAttachmentImages(reportData_.get());
}

void VRNReportComposeViewModel::setBrandingRefresCallback(std::function<void()> callback) {
    *brandingRefresCallback_ = std::move(callback);
}

void VRNReportComposeViewModel::brandingUpdatedNotification() {
    if (*brandingRefresCallback_) {
        (*brandingRefresCallback_)();
    }
}

}  // namespace vorna
