#include "qt/flow/VRNOverlayView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTouchEvent>

namespace vorna {
namespace {

// The mouse as one more pointer beside the fingers, whose ids are never negative.
constexpr VRNStrokeCapture::PointerId kMousePointer = -1;

VRNPoint toPoint(const QPointF& position) {
    return VRNPoint{position.x(), position.y()};
}

// Mouse events that the window system made up from a touch come after the touch itself,
// which the surface already followed.
bool isFromTouch(const QMouseEvent* event) {
    return event->source() != Qt::MouseEventNotSynthesized;
}

}  // namespace

VRNOverlayView::VRNOverlayView(QWidget* parent)
    : QWidget(parent), capture_(VRNStrokeCapture::Callbacks{[this] { strokeChanged(); }, {}}) {
    setAttribute(Qt::WA_AcceptTouchEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
}

void VRNOverlayView::setDrawingColor(const QColor& color) {
    drawingColor_ = color;
    update();
}

void VRNOverlayView::setNeedScreenshotBlock(std::function<void()> block) {
    capture_.setStrokeEnded(std::move(block));
}

bool VRNOverlayView::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd: {
            for (const QEventPoint& point : static_cast<QTouchEvent*>(event)->points()) {
                switch (point.state()) {
                    case QEventPoint::Pressed:
                        capture_.pressed(point.id(), toPoint(point.position()));
                        break;
                    case QEventPoint::Updated:
                        capture_.moved(point.id(), toPoint(point.position()));
                        break;
                    case QEventPoint::Released:
                        capture_.released(point.id());
                        break;
                    default:
                        break;
                }
            }
            event->accept();
            return true;
        }
        case QEvent::TouchCancel:
            capture_.cancelled();
            event->accept();
            return true;
        default:
            return QWidget::event(event);
    }
}

void VRNOverlayView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !isFromTouch(event)) {
        capture_.pressed(kMousePointer, toPoint(event->position()));
    }
}

void VRNOverlayView::mouseMoveEvent(QMouseEvent* event) {
    if (!isFromTouch(event)) {
        capture_.moved(kMousePointer, toPoint(event->position()));
    }
}

void VRNOverlayView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !isFromTouch(event)) {
        capture_.released(kMousePointer);
    }
}

void VRNOverlayView::strokeChanged() {
    // Only the newest segment (or, once the stroke is gone, what it covered) needs painting.
    const double margin = lineWidth + 1;
    if (pointsToDraw && !pointsToDraw->empty()) {
        const VRNPoint last = pointsToDraw->back();
        const VRNPoint before = pointsToDraw->size() > 1 ? (*pointsToDraw)[pointsToDraw->size() - 2]
                                                         : pointsToDraw->front();
        const QRectF segment = QRectF(QPointF(before.x, before.y), QPointF(last.x, last.y))
                                   .normalized()
                                   .adjusted(-margin, -margin, margin, margin);
        if (pointsToDraw->size() == 1) {
            // A new stroke: one that a cancelled touch left showing goes now.
            update(shownStroke_.toAlignedRect());
            shownStroke_ = segment;
        } else {
            shownStroke_ = shownStroke_.united(segment);
        }
        update(segment.toAlignedRect());
        return;
    }
    update(shownStroke_.toAlignedRect());
    shownStroke_ = QRectF();
}

void VRNOverlayView::paintEvent(QPaintEvent*) {
    const std::vector<VRNPoint>* points = VRNStrokeCapture::strokeToDraw();
    if (!points) {
        return;
    }
    QPainterPath path(QPointF(points->front().x, points->front().y));
    for (const VRNPoint& point : *points) {
        path.lineTo(point.x, point.y);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(path,
                       QPen(drawingColor_, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

}  // namespace vorna
