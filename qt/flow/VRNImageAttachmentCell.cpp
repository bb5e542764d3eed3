#include "qt/flow/VRNImageAttachmentCell.h"

#include <QGraphicsDropShadowEffect>
#include <QPainter>

#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/LargerTappableButton.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr QSize kImageSize(80, 140);
constexpr int kDeleteIconSide = 8;
// The delete button's centre lies this far beyond the picture's top trailing corner.
constexpr int kDeleteButtonOffset = 5;

// A picture drawn as large as fits, its proportions kept, centred.
class AspectFitImageView : public QWidget {
public:
    explicit AspectFitImageView(QWidget* parent) : QWidget(parent) {}

    const QImage& image() const { return image_; }
    void setImage(const QImage& image) {
        image_ = image;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (image_.isNull()) {
            return;
        }
        const QSizeF fitted =
            image_.deviceIndependentSize().scaled(QSizeF(size()), Qt::KeepAspectRatio);
        const QRectF target(
            QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, image_);
    }

private:
    QImage image_;
};

}  // namespace

VRNImageAttachmentCell::VRNImageAttachmentCell(QWidget* parent) : QWidget(parent) {
    commonSetup();
}

void VRNImageAttachmentCell::commonSetup() {
    imageView_ = new AspectFitImageView(this);

    const int side = static_cast<int>(ROUND_DELETE_BUTTON_DIMENSION);
    deleteButton_ = new LargerTappableButton(this);
    deleteButton_->setFixedSize(side, side);
    deleteButton_->setStyleSheet(QStringLiteral("QPushButton { background: white; border: none; "
                                                "border-radius: %1px; }")
                                     .arg(side / 2));
    deleteButton_->setIcon(VRNKitImages::iconNamed(QStringLiteral("delete-icon")));
    deleteButton_->setIconSize(QSize(kDeleteIconSide, kDeleteIconSide));
    deleteButton_->setFocusPolicy(Qt::NoFocus);
    auto* shadow = new QGraphicsDropShadowEffect(deleteButton_);
    shadow->setColor(VRNScreenStyle::color(Colors::buttonShadow()));
    shadow->setOffset(0, 4);
    // A layer's shadow radius of 5 spreads as far as a blur radius of 10 does in Qt.
    shadow->setBlurRadius(10);
    deleteButton_->setGraphicsEffect(shadow);
    connect(deleteButton_, &QPushButton::clicked, this,
            &VRNImageAttachmentCell::deleteButtonPressed);
    deleteButton_->hide();
}

QImage VRNImageAttachmentCell::image() const {
    return static_cast<AspectFitImageView*>(imageView_)->image();
}

void VRNImageAttachmentCell::setImage(const QImage& image) {
    static_cast<AspectFitImageView*>(imageView_)->setImage(image);
}

void VRNImageAttachmentCell::deleteButtonPressed() {
    // Attachments stay with the report: the button has no action.
}

void VRNImageAttachmentCell::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const QRect picture(QPoint(0, height() - kImageSize.height()), kImageSize);
    imageView_->setGeometry(picture);
    const QPoint centre(picture.right() + 1 + kDeleteButtonOffset,
                        picture.top() - kDeleteButtonOffset);
    deleteButton_->move(centre - QPoint(deleteButton_->width() / 2, deleteButton_->height() / 2));
}

}  // namespace vorna
