#pragma once

#include <QPointer>
#include <QScrollArea>
#include <QStringList>
#include <QWidget>

#include <memory>
#include <vector>

#include "qt/flow/AttachmentCollectionView.h"
#include "qt/flow/GrantedPermissionsView.h"
#include "qt/flow/QuickFactsView.h"
#include "qt/flow/TitledLabelView.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/flow/VRNViewController.h"

namespace vorna {

class VRNBranding;
class VRNInspectBugVM;

// "Inspect bug": what the report will carry, read-only. On the branding's background a white
// card, its top corners rounded, holds the header "Essentials" and below it a scrolling column:
// the eight essential facts, the attachments, the granted permissions and the host's quick
// facts. Scrolling the column deepens the header's shadow. The bar shows the title and a back
// arrow that pops the screen.
class VRNInspectBugVC : public VRNViewController {
    Q_OBJECT

public:
    static constexpr double kCornerRadius = 15;
    static constexpr int kContainerTopGap = 10;  // between the bar and the card

    // Reads the granted permissions at once: a list the view model cannot give (two or more
    // names, VRNUnrecognizedSelectorError) fails the making of the screen, before anything of
    // it is on a stack.
    VRNInspectBugVC(std::shared_ptr<VRNInspectBugVM> viewModel,
                    std::shared_ptr<const VRNBranding> branding);
    ~VRNInspectBugVC() override;

    const std::shared_ptr<VRNInspectBugVM>& viewModel() const { return viewModel_; }

    // Null until the view is loaded.
    QWidget* contentView() const { return contentView_; }
    QWidget* containerView() const { return containerView_; }
    QScrollArea* scrollView() const { return scrollView_; }
    VRNResizingTextView* headerTextView() const { return headerTextView_; }
    AttachmentCollectionView* attachementCollectionView() const {
        return attachementCollectionView_;
    }
    // The eight facts, top to bottom.
    const std::vector<QPointer<TitledLabelView>>& titledLabelViews() const { return rows_; }
    GrantedPermissionsView* grantedPermissionsView() const { return grantedPermissionsView_; }
    QuickFactsView* quickFactsView() const { return quickFactsView_; }

    void backButtonAction();
    // The column moved: its offset gives the header's shadow its depth.
    void scrollViewDidScroll();

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;
    void viewDidLayoutSubviews() override;

private:
    void setUpNavigationBar();
    void setupViews();
    void updateViewBranding();
    void setupLayerCorners();

    std::shared_ptr<VRNInspectBugVM> viewModel_;
    std::shared_ptr<const VRNBranding> branding_;
    QStringList grantedPermissions_;
    QPointer<QWidget> contentView_;
    QPointer<QWidget> containerView_;
    QPointer<QScrollArea> scrollView_;
    QPointer<VRNResizingTextView> headerTextView_;
    QPointer<AttachmentCollectionView> attachementCollectionView_;
    std::vector<QPointer<TitledLabelView>> rows_;
    QPointer<GrantedPermissionsView> grantedPermissionsView_;
    QPointer<QuickFactsView> quickFactsView_;
};

}  // namespace vorna
