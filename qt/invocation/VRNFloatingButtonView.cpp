#include "qt/invocation/VRNFloatingButtonView.h"

#include <QAbstractButton>
#include <QPainter>
#include <QPainterPath>

#include "flow/VRNFloatingButtonVM.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/theme/VRNKitImages.h"
#include "state/VRNAppRepository.h"

namespace vorna {
namespace {

constexpr QSizeF kIconSize(20, 24);

// The round button itself: a filled circle with the icon in its middle, slightly darker while
// held down. The corner radius is half the side, so the button is a circle and nothing of it
// is drawn outside.
class RoundButton : public QAbstractButton {
public:
    explicit RoundButton(QWidget* parent) : QAbstractButton(parent) {
        setAccessibleName(QStringLiteral("Report a bug"));
        setFocusPolicy(Qt::NoFocus);
        setCursor(Qt::PointingHandCursor);
    }

    void setImage(QPixmap image) {
        image_ = std::move(image);
        update();
    }
    const QPixmap& image() const { return image_; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF bounds = rect();
        QPainterPath circle;
        circle.addRoundedRect(bounds, bounds.width() / 2, bounds.height() / 2);
        painter.setClipPath(circle);
        painter.fillPath(circle, isDown() ? QColor(0, 0, 200) : QColor(Qt::blue));
        if (!image_.isNull()) {
            const QSizeF size = image_.deviceIndependentSize();
            painter.drawPixmap(
                QPointF((bounds.width() - size.width()) / 2, (bounds.height() - size.height()) / 2),
                image_);
        }
    }

private:
    QPixmap image_;
};

}  // namespace

VRNFloatingButtonView::VRNFloatingButtonView(std::shared_ptr<VRNAppRepository> repository,
                                             QWidget* parent)
    : QWidget(parent), appRepository_(std::move(repository)) {
    commonSetup();
}

QPixmap VRNFloatingButtonView::imageWithImage(const QString& name, const QSizeF& size) {
    return VRNKitImages::imageNamed(name, size, VRNDeviceProvider::current()->mainScreen().scale);
}

void VRNFloatingButtonView::commonSetup() {
    setAttribute(Qt::WA_TranslucentBackground);
    setAutoFillBackground(false);
    auto* button = new RoundButton(this);
    button->setImage(imageWithImage(QStringLiteral("bug-icon"), kIconSize));
    vornaButton_ = button;
    const VRNScreenInfo screen = VRNDeviceProvider::current()->mainScreen();
    const VRNRect frame = VRNFloatingButtonVM::placedButtonFrame(
        *appRepository_, VRNSize{screen.width, screen.height});
    setButtonFrame(QRectF(frame.x, frame.y, frame.width, frame.height));
}

void VRNFloatingButtonView::setButtonFrame(const QRectF& frame) {
    buttonFrame_ = frame;
    vornaButton_->setGeometry(QRect(frame.topLeft().toPoint(), frame.size().toSize()));
    emit buttonFrameChanged(frame);
}

bool VRNFloatingButtonView::pointInside(const QPointF& point) const {
    return VRNRect{buttonFrame_.x(), buttonFrame_.y(), buttonFrame_.width(), buttonFrame_.height()}
        .contains(point.x(), point.y());
}

}  // namespace vorna
