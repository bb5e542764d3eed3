#pragma once

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSizeF>

#include <memory>

#include "qt/flow/VRNAttributedLabel.h"
#include "qt/flow/VRNViewController.h"

namespace vorna {

class VRNReportingDisabledPopupVMProtocol;

// What a report flow shows instead of its screens while the application is archived on the
// backend: a white card in the middle of a veil through which the screen beneath still shows.
// Its one action, "Dismiss", goes to the view model.
class VRNReportingDisabledPopupVC : public VRNViewController {
    Q_OBJECT

public:
    // The owl's own size: it stands among the words of the description, centred on the height
    // of their capitals.
    static constexpr QSizeF kOwlSize{20.0, 20.0};

    explicit VRNReportingDisabledPopupVC(
        std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel);
    ~VRNReportingDisabledPopupVC() override;

    const std::shared_ptr<VRNReportingDisabledPopupVMProtocol>& viewModel() const {
        return viewModel_;
    }
    // The card and what it holds; null until the view is loaded.
    QWidget* reportDisabledPopupView() const { return reportDisabledPopupView_; }
    QLabel* titleLabel() const { return titleLabel_; }
    VRNAttributedLabel* descriptionLabel() const { return descriptionLabel_; }
    QPushButton* dismissButton() const { return dismissButton_; }

    void dismissButtonAction();

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    void setupUI();

    std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel_;
    QPointer<QWidget> reportDisabledPopupView_;
    QPointer<QLabel> titleLabel_;
    QPointer<VRNAttributedLabel> descriptionLabel_;
    QPointer<QPushButton> dismissButton_;
};

}  // namespace vorna
