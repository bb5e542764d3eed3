#pragma once

#include <QLabel>
#include <QPointer>

#include "qt/flow/VRNViewController.h"

namespace vorna {

// "Bug submitted successfully.": a dark rounded strip near the bottom of the banner's window,
// with a check mark and the text, as wide as the window less 10 points on each side.
class VRNMessageBannerVC : public VRNViewController {
    Q_OBJECT

public:
    static constexpr int kBannerHeight = 60;
    static constexpr int kSideMargins = 20;  // the window's width less the banner's
    static constexpr int kBottomMargin = 10;
    static constexpr double kCornerRadius = 10;
    static constexpr int kImageSide = 30;
    static constexpr int kImageInset = 18;  // from the banner's top and leading edges
    static constexpr int kLabelSpacing = 18;

    VRNMessageBannerVC();
    ~VRNMessageBannerVC() override;

    // The banner shows over everything, so nothing of the system should show above it.
    bool prefersStatusBarHidden() const { return true; }

    // Null until the view is loaded.
    QWidget* bannerView() const { return bannerView_; }
    QLabel* imageView() const { return imageView_; }
    QLabel* label() const { return label_; }

    void viewDidLayoutSubviews() override;

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    QPointer<QWidget> bannerView_;
    QPointer<QLabel> imageView_;
    QPointer<QLabel> label_;
};

}  // namespace vorna
