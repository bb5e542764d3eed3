#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/VRNImage.h"
#include "platform/loop/VRNNotificationCenter.h"

namespace vorna {

class VRNVornaReportData;

// The description field's placeholder: a description equal to its translation is no
// description.
inline constexpr const char* kVRNDescriptionPlaceholder = "Describe the bug and tap Submit";
// Posted when the look of the screens changes; the compose screen redraws itself.
inline constexpr const char* kVRNBrandingUpdatedNotification = "BrandingUpdated";

// What the compose screen asks of its view model.
class VRNReportComposeVMProtocol {
public:
    virtual ~VRNReportComposeVMProtocol() = default;
    // The description and the e-mail field as they stand.
    virtual void didPressSubmitButton(const std::string& description,
                                      const std::optional<std::string>& emailAddress) = 0;
    virtual void didPressBackButton(const std::optional<std::string>& description) = 0;
    virtual void didPressInspectButton() = 0;
    // A fresh list on every call: the report's screenshot as a picture, when it has one.
    virtual std::vector<VRNImage> attachments() const = 0;
    // What the screen shows when it opens.
    virtual const std::optional<std::string>& bugDescription() const = 0;
    virtual const std::optional<std::string>& emailAddress() const = 0;
    virtual void setBrandingRefresCallback(std::function<void()> callback) = 0;
};

// The second screen of a report ("Wrap-up"): the description and the e-mail go into the
// report's facts on submit, and the coordinator takes it from there.
class VRNReportComposeViewModel : public VRNReportComposeVMProtocol {
public:
    using SubmitCallback =
        std::function<void(std::shared_ptr<VRNVornaReportData>, std::optional<std::string>)>;
    using BackCallback = std::function<void(std::optional<std::string>)>;

    explicit VRNReportComposeViewModel(
        std::shared_ptr<VRNVornaReportData> reportData,
        VRNNotificationCenter& center = VRNNotificationCenter::defaultCenter());
    VRNReportComposeViewModel(const VRNReportComposeViewModel&) = delete;
    VRNReportComposeViewModel& operator=(const VRNReportComposeViewModel&) = delete;

    // The facts keep what they held; "VRN_UserInput" is set unless the description is the
    // placeholder's translation, "VRN_UserEmail" whenever an e-mail is given (empty included);
    // then the callback gets the report and the e-mail as given.
    void didPressSubmitButton(const std::string& description,
                              const std::optional<std::string>& emailAddress) override;
    void didPressBackButton(const std::optional<std::string>& description) override;
    void didPressInspectButton() override;
    std::vector<VRNImage> attachments() const override;

    const std::optional<std::string>& bugDescription() const override { return bugDescription_; }
    void setBugDescription(std::optional<std::string> text) { bugDescription_ = std::move(text); }
    const std::optional<std::string>& emailAddress() const override { return emailAddress_; }
    void setEmailAddress(std::optional<std::string> email) { emailAddress_ = std::move(email); }
    const std::shared_ptr<VRNVornaReportData>& reportData() const { return reportData_; }

    void setSubmitButtonPressed(SubmitCallback callback) {
        submitButtonPressed_ = std::move(callback);
    }
    void setBackButtonPressed(BackCallback callback) { backButtonPressed_ = std::move(callback); }
    void setOnDidPressInspectButton(std::function<void()> callback) {
        onDidPressInspectButton_ = std::move(callback);
    }
    void setBrandingRefresCallback(std::function<void()> callback) override;

    // The notification's handler: the screen redraws with the current look.
    void brandingUpdatedNotification();

private:
    SubmitCallback submitButtonPressed_;
    std::shared_ptr<std::function<void()>> brandingRefresCallback_;
    BackCallback backButtonPressed_;
    std::function<void()> onDidPressInspectButton_;
    std::optional<std::string> bugDescription_;
    std::optional<std::string> emailAddress_;
    std::shared_ptr<VRNVornaReportData> reportData_;
    VRNNotificationCenter::Subscription brandingObserver_;
};

// The report's screenshot as a picture, in a list of its own: one image when the screenshot
// file has data, none otherwise. Shared by the compose and inspect screens.
std::vector<VRNImage> VRNAttachmentImages(const VRNVornaReportData* reportData);

}  // namespace vorna
