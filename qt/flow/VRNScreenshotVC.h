#pragma once

#include <QPointer>

#include <memory>

#include "flow/VRNAnnotationToolbar.h"
#include "platform/VRNImage.h"
#include "qt/flow/VRNViewController.h"

class QAbstractButton;
class QWidgetAction;

namespace vorna {

class VRNAppRepository;
class VRNBranding;
class VRNPlainButton;
class VRNScreenshotVMProtocol;
class VRNScreenshotView;

// The first screen of a report: the screenshot, on which the tester marks the bug by drawing
// in red, black or white. Each finished stroke is burnt into the picture at once, at the main
// screen's scale, and the picture becomes the view model's; Reset brings the untouched
// screenshot back on screen (the view model keeps the last drawn picture, so Next still sends
// it until the next stroke, which starts again from the untouched one). The colour chosen is
// remembered for the next report. Next and close go to the view model.
//
//   Untouched --press--> Drawing --release--> Annotated --Reset--> Untouched
//   (toolbar without Reset)                   (toolbar with Reset; a press draws again)
class VRNScreenshotVC : public VRNViewController {
    Q_OBJECT

public:
    // Without a repository the screen keeps its own, over the host's defaults.
    VRNScreenshotVC(std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
                    std::shared_ptr<const VRNBranding> branding,
                    std::shared_ptr<VRNAppRepository> repository = nullptr);
    ~VRNScreenshotVC() override;

    const std::shared_ptr<VRNScreenshotVMProtocol>& viewModel() const { return viewModel_; }
    VRNScreenshotView* screenshotView() const;
    QAbstractButton* closeButton() const;
    QAbstractButton* nextButton() const;
    QAbstractButton* resetButton() const;
    QAbstractButton* redButton() const;
    QAbstractButton* blackButton() const;
    QAbstractButton* whiteButton() const;
    QWidgetAction* resetBarButtonItem() const;
    const VRNImage& initialScreenshot() const { return initialScreenshot_; }

    void setScreenshotImageView();
    // Draws with the pressed button's colour from now on and remembers the choice.
    void colorButtonPressed(QAbstractButton* button);
    // Marks the given colour button as the chosen one, and only it.
    void setBackgroundsForButton(QAbstractButton* button);
    void setUpToolBarWithReset(bool withReset);
    void closeButtonTapped();
    void nextButtonTapped();
    void reset();
    void updateBranding();
    // What a finished stroke does: the picture with the stroke over it becomes the new
    // picture, on screen and in the view model, and Reset appears.
    void burnInStroke();

    void viewDidLayoutSubviews() override;
    void viewWillAppear(bool animated) override;

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    QWidgetAction* wrap(VRNPlainButton* button);
    // The button a toolbar item shows: the one its bar item wraps.
    QWidget* toolBarButton(VRNAnnotationToolbar::Kind kind) const;

    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<const VRNBranding> branding_;
    QPointer<VRNScreenshotView> screenshotView_;
    std::shared_ptr<VRNScreenshotVMProtocol> viewModel_;
    QPointer<VRNPlainButton> closeButton_;
    QPointer<VRNPlainButton> nextButton_;
    QPointer<VRNPlainButton> redButton_;
    QPointer<VRNPlainButton> blackButton_;
    QPointer<VRNPlainButton> whiteButton_;
    QPointer<VRNPlainButton> resetButton_;
    QPointer<QWidgetAction> redBarButtonItem_;
    QPointer<QWidgetAction> blackBarButtonItem_;
    QPointer<QWidgetAction> whiteBarButtonItem_;
    QPointer<QWidgetAction> resetBarButtonItem_;
    VRNImage initialScreenshot_;
};

}  // namespace vorna
