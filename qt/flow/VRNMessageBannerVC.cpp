#include "qt/flow/VRNMessageBannerVC.h"

#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

#include "platform/VRNDeviceProvider.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"

namespace vorna {
namespace {

constexpr double kLabelFontSize = 17;

// Black at 60 % over whatever lies beneath, its corners rounded, nothing drawn outside them.
class BannerView : public QWidget {
public:
    BannerView() { setAttribute(Qt::WA_NoSystemBackground); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath shape;
        shape.addRoundedRect(QRectF(rect()), VRNMessageBannerVC::kCornerRadius,
                             VRNMessageBannerVC::kCornerRadius);
        painter.fillPath(shape, QColor::fromRgbF(0, 0, 0, 0.6f));
    }
};

}  // namespace

VRNMessageBannerVC::VRNMessageBannerVC() = default;
VRNMessageBannerVC::~VRNMessageBannerVC() = default;

QWidget* VRNMessageBannerVC::loadView() {
    auto* root = new QWidget();
    root->setObjectName(QStringLiteral("VRNMessageBannerVC"));
    // Only the banner is drawn; the rest of the window is clear.
    root->setAttribute(Qt::WA_NoSystemBackground);
    root->setAttribute(Qt::WA_TranslucentBackground);
    return root;
}

void VRNMessageBannerVC::viewDidLoad() {
    VRNViewController::viewDidLoad();
    auto* banner = new BannerView();
    banner->setParent(view());
    bannerView_ = banner;

    auto* image = new QLabel(banner);
    imageView_ = image;
    image->setPixmap(VRNKitImages::imageNamed(QStringLiteral("check-circle"),
                                              QSizeF(kImageSide, kImageSide),
                                              VRNDeviceProvider::current()->mainScreen().scale));
    image->setGeometry(kImageInset, kImageInset, kImageSide, kImageSide);

    auto* text = new QLabel(VRNScreenStyle::localized("Bug submitted successfully."), banner);
    label_ = text;
    text->setAlignment(Qt::AlignCenter);
    text->setFont(VRNScreenStyle::regularFont(kLabelFontSize));
    VRNScreenStyle::setTextColor(text, Qt::white);
    viewDidLayoutSubviews();
}

void VRNMessageBannerVC::viewDidLayoutSubviews() {
    VRNViewController::viewDidLayoutSubviews();
    if (!bannerView_) {
        return;
    }
    const QWidget* root = view();
    const int width = std::max(0, root->width() - kSideMargins);
    bannerView_->setGeometry((root->width() - width) / 2,
                             root->height() - kBottomMargin - kBannerHeight, width, kBannerHeight);
    const int labelX = kImageInset + kImageSide + kLabelSpacing;
    const int labelHeight = label_->sizeHint().height();
    label_->setGeometry(labelX, (kBannerHeight - labelHeight) / 2,
                        std::max(0, width - labelX - kLabelSpacing), labelHeight);
}

}  // namespace vorna
