#include "qt/flow/VRNPlainButton.h"

#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

#include "qt/theme/VRNKitImages.h"

namespace vorna {
namespace {

constexpr double kHeldOpacity = 0.4;

}  // namespace

VRNPlainButton::VRNPlainButton(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void VRNPlainButton::setImage(Image& image, const QString& name) {
    if (image.name == name) {
        return;
    }
    image.name = name;
    image.drawn = QPixmap();
    image.naturalSize =
        name.isEmpty() ? QSize() : QSvgRenderer(VRNKitImages::resourcePath(name)).defaultSize();
    updateGeometry();
    update();
}

void VRNPlainButton::setImageName(const QString& name) {
    setImage(image_, name);
}

void VRNPlainButton::setBackgroundImageName(const QString& name) {
    setImage(background_, name);
}

void VRNPlainButton::setTitleColor(const QColor& color) {
    titleColor_ = color;
    update();
}

QSize VRNPlainButton::sizeHint() const {
    if (!image_.name.isEmpty()) {
        return image_.naturalSize;
    }
    if (!text().isEmpty()) {
        const QFontMetrics metrics(font());
        return QSize(metrics.horizontalAdvance(text()), metrics.height());
    }
    return background_.naturalSize;
}

const QPixmap& VRNPlainButton::drawnAt(Image& image, const QSize& size) {
    const double scale = devicePixelRatioF();
    if (image.drawn.isNull() || image.drawn.deviceIndependentSize() != QSizeF(size) ||
        image.drawn.devicePixelRatio() != scale) {
        image.drawn = VRNKitImages::imageNamed(image.name, QSizeF(size), scale);
    }
    return image.drawn;
}

void VRNPlainButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (isDown()) {
        painter.setOpacity(kHeldOpacity);
    }
    if (!background_.name.isEmpty()) {
        painter.drawPixmap(QPoint(0, 0), drawnAt(background_, size()));
    }
    if (!image_.name.isEmpty()) {
        const QSize natural = image_.naturalSize;
        painter.drawPixmap(
            QPoint((width() - natural.width()) / 2, (height() - natural.height()) / 2),
            drawnAt(image_, natural));
    }
    if (!text().isEmpty()) {
        painter.setPen(titleColor_);
        painter.setFont(font());
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
}

}  // namespace vorna
