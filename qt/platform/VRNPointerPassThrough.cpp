#include "qt/platform/VRNPointerPassThrough.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include "qt/platform/VRNWindowStack.h"

namespace vorna {

QWindow* VRNPointerPassThrough::windowBeneath(const QPointF& global) const {
    QWidget* beneath = VRNWindowStack::windowAt(global, window_);
    return beneath ? beneath->windowHandle() : nullptr;
}

bool VRNPointerPassThrough::pass(QEvent* event) {
    const auto* pointer = static_cast<QSinglePointEvent*>(event);
    const QEvent::Type type = event->type();
    QWindow* target = nullptr;
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick) {
        if (!pressUnderWay_) {
            pressTarget_ = windowBeneath(pointer->globalPosition());
            pressUnderWay_ = true;
        }
        target = pressTarget_;
    } else if (pressUnderWay_) {
        target = pressTarget_;
        if (type == QEvent::MouseButtonRelease && pointer->buttons() == Qt::NoButton) {
            reset();
        }
    } else {
        target = windowBeneath(pointer->globalPosition());
    }
    if (target) {
        deliver(event, target);
    }
    return true;
}

void VRNPointerPassThrough::reset() {
    pressUnderWay_ = false;
    pressTarget_.clear();
}

void VRNPointerPassThrough::deliver(QEvent* event, QWindow* target) {
    const auto* pointer = static_cast<QSinglePointEvent*>(event);
    const QPointF global = pointer->globalPosition();
    const QPointF local = target->mapFromGlobal(global);
    if (event->type() == QEvent::Wheel) {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        QWheelEvent copy(local, global, wheel->pixelDelta(), wheel->angleDelta(), wheel->buttons(),
                         wheel->modifiers(), wheel->phase(), wheel->inverted(),
                         Qt::MouseEventNotSynthesized, wheel->pointingDevice());
        copy.setTimestamp(wheel->timestamp());
        QCoreApplication::sendEvent(target, &copy);
        return;
    }
    const auto* mouse = static_cast<const QMouseEvent*>(event);
    QMouseEvent copy(event->type(), local, local, global, mouse->button(), mouse->buttons(),
                     mouse->modifiers(), mouse->pointingDevice());
    copy.setTimestamp(mouse->timestamp());
    QCoreApplication::sendEvent(target, &copy);
}

}  // namespace vorna
