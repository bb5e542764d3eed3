#include "qt/flow/VRNScreenshotImageView.h"

#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>

#include "qt/platform/VRNQtImage.h"

namespace vorna {

VRNScreenshotImageView::VRNScreenshotImageView(QWidget* parent) : QWidget(parent) {}

void VRNScreenshotImageView::setImage(VRNImage image) {
    image_ = std::move(image);
    shown_ = VRNQtImage::toQImage(image_);
    update();
}

void VRNScreenshotImageView::paintEvent(QPaintEvent* event) {
    if (shown_.isNull()) {
        return;
    }
    QPainter painter(this);
    const QRectF target = rect();
    // Pixels per point of what is painted on: the screen's, or those of a picture the view is
    // rendered into.
    const double scale = painter.paintEngine()->paintDevice()->devicePixelRatioF();
    if (QSizeF(shown_.size()) == target.size() * scale) {
        // A picture made for this view at this scale: pixel for pixel, and only what needs it.
        const QRect dirty = event->rect();
        painter.drawImage(QRectF(dirty), shown_,
                          QRectF(dirty.x() * scale, dirty.y() * scale, dirty.width() * scale,
                                 dirty.height() * scale));
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, shown_);
}

}  // namespace vorna
