#pragma once

#include <QPointer>
#include <QScrollArea>
#include <QWidget>

#include <memory>

#include "flow/VRNReportComposeViewModel.h"
#include "qt/flow/AttachmentCollectionView.h"
#include "qt/flow/EmailEntryView.h"
#include "qt/flow/InspectBugControl.h"
#include "qt/flow/LabeledHyperlinkView.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/flow/VRNViewController.h"

namespace vorna {

// The second screen of a report, "Wrap-up". Under the bar (title, back arrow, "Submit") a
// white card with rounded top corners holds the description field, and below it a scrolling
// column: the e-mail field, the attachments, the row that opens the inspect screen and the
// help link, 20 points apart. Content scrolled up under the description field shades its
// lower edge.
//
// Submit hands the description and the e-mail to the view model as they stand (the e-mail as
// an empty text when nothing was typed); back hands over the description, or nothing while it
// is the untranslated placeholder sentence, and leaves the screen.
class VRNReportComposeViewController : public VRNViewController {
    Q_OBJECT

public:
    explicit VRNReportComposeViewController(std::shared_ptr<VRNReportComposeVMProtocol> viewModel);
    ~VRNReportComposeViewController() override;

    const std::shared_ptr<VRNReportComposeVMProtocol>& viewModel() const { return viewModel_; }

    QWidget* containerView() const { return containerView_; }
    QScrollArea* scrollView() const { return scrollView_; }
    QWidget* contentView() const { return contentView_; }
    VRNResizingTextView* resizingTextView() const { return resizingTextView_; }
    EmailEntryView* emailView() const { return emailView_; }
    AttachmentCollectionView* attachmentCollectionView() const { return attachmentView_; }
    InspectBugControl* inspectControl() const { return inspectControl_; }
    LabeledHyperlinkView* hyperlinkView() const { return hyperlinkView_; }

    void viewDidAppear(bool animated) override;
    void viewDidLayoutSubviews() override;

    void submitButtonPressed();
    void backButtonAction();
    void inspectButtonPressed();
    // Ends editing anywhere on the screen.
    void resignFirstResponders();
    void scrollViewDidScroll();
    void updateViewBranding();

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setupViews();
    void setupNavigationBar();
    void setupLayerCorners();

    QPointer<QWidget> containerView_;
    QPointer<QScrollArea> scrollView_;
    QPointer<QWidget> contentView_;
    QPointer<VRNResizingTextView> resizingTextView_;
    QPointer<EmailEntryView> emailView_;
    QPointer<AttachmentCollectionView> attachmentView_;
    QPointer<InspectBugControl> inspectControl_;
    QPointer<LabeledHyperlinkView> hyperlinkView_;
    std::shared_ptr<VRNReportComposeVMProtocol> viewModel_;
};

}  // namespace vorna
