#include "qt/theme/LargerTappableButton.h"

#include <QCoreApplication>
#include <QMouseEvent>

#include <cmath>

namespace vorna {

LargerTappableButton::LargerTappableButton(QWidget* parent) : QPushButton(parent) {
    watchParent();
}

LargerTappableButton::LargerTappableButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent) {
    watchParent();
}

bool LargerTappableButton::pointInside(const QPointF& point) const {
    const QRect bounds = rect();
    const double left = std::trunc(bounds.x() - static_cast<double>(horizontalClickableInset_));
    const double right =
        std::trunc(bounds.x() + bounds.width() + static_cast<double>(horizontalClickableInset_));
    const double top = std::trunc(bounds.y() - static_cast<double>(verticalClickableInset_));
    const double bottom =
        std::trunc(bounds.y() + bounds.height() + static_cast<double>(verticalClickableInset_));
    return left <= point.x() && point.x() <= right && top <= point.y() && point.y() <= bottom;
}

bool LargerTappableButton::hitButton(const QPoint& pos) const {
    return pointInside(pos);
}

bool LargerTappableButton::event(QEvent* event) {
    if (event->type() == QEvent::ParentChange) {
        watchParent();
    }
    return QPushButton::event(event);
}

void LargerTappableButton::watchParent() {
    if (watchedParent_) {
        watchedParent_->removeEventFilter(this);
    }
    watchedParent_ = parentWidget();
    forwarding_ = false;
    if (watchedParent_) {
        watchedParent_->installEventFilter(this);
    }
}

bool LargerTappableButton::eventFilter(QObject* watched, QEvent* event) {
    if (watched != watchedParent_) {
        return QPushButton::eventFilter(watched, event);
    }
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonDblClick &&
        type != QEvent::MouseMove && type != QEvent::MouseButtonRelease) {
        return false;
    }
    auto* mouse = static_cast<QMouseEvent*>(event);
    const QPointF local = mapFromParent(mouse->position());
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick) {
        forwarding_ = isVisible() && isEnabled() && pointInside(local);
    }
    if (!forwarding_) {
        return false;
    }
    if (type == QEvent::MouseButtonRelease && mouse->buttons() == Qt::NoButton) {
        forwarding_ = false;
    }
    QMouseEvent mine(type, local, mouse->scenePosition(), mouse->globalPosition(), mouse->button(),
                     mouse->buttons(), mouse->modifiers(), mouse->pointingDevice());
    QCoreApplication::sendEvent(this, &mine);
    return true;
}

}  // namespace vorna
