#include "qt/invocation/VRNScreenEdgePanRecognizer.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

namespace vorna {

VRNScreenEdgePanRecognizer::VRNScreenEdgePanRecognizer(QWidget* view, Action action)
    : QObject(view), view_(view), action_(std::move(action)) {
    if (auto* app = QCoreApplication::instance()) {
        app->installEventFilter(this);
    }
}

void VRNScreenEdgePanRecognizer::setEnabled(bool enabled) {
    if (enabled_ == enabled) {
        return;
    }
    enabled_ = enabled;
    if (!enabled) {
        const bool running = state_ == State::Began || state_ == State::Changed;
        tracking_ = false;
        if (running) {
            fire(State::Cancelled);
        }
        state_ = State::Possible;
    }
}

bool VRNScreenEdgePanRecognizer::startsAtEdge(const QPointF& p) const {
    const QRectF bounds = view_->rect();
    if (!bounds.contains(p)) {
        return false;
    }
    return ((edges_ & Qt::RightEdge) && p.x() >= bounds.right() - kEdgeZone) ||
           ((edges_ & Qt::LeftEdge) && p.x() < bounds.left() + kEdgeZone) ||
           ((edges_ & Qt::TopEdge) && p.y() < bounds.top() + kEdgeZone) ||
           ((edges_ & Qt::BottomEdge) && p.y() >= bounds.bottom() - kEdgeZone);
}

void VRNScreenEdgePanRecognizer::fire(State state) {
    state_ = state;
    if (action_) {
        action_(*this);
    }
}

bool VRNScreenEdgePanRecognizer::eventFilter(QObject* watched, QEvent* event) {
    if (!view_ || !enabled_ || watched != view_->window()->windowHandle()) {
        return false;
    }
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove &&
        type != QEvent::MouseButtonRelease) {
        return false;
    }
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const QPointF inView = view_->mapFromGlobal(mouse->globalPosition());
    if (type == QEvent::MouseButtonPress) {
        if (mouse->button() == Qt::LeftButton && mouse->buttons() == Qt::LeftButton &&
            startsAtEdge(inView)) {
            tracking_ = true;
            state_ = State::Possible;
            start_ = inView;
            translation_ = QPointF();
        }
        return false;
    }
    if (!tracking_) {
        return false;
    }
    translation_ = inView - start_;
    if (type == QEvent::MouseMove) {
        if (state_ == State::Possible) {
            // The gesture begins when the pointer has left the edge it started from.
            const double away = ((edges_ & Qt::RightEdge) ? -translation_.x() : 0) +
                                ((edges_ & Qt::LeftEdge) ? translation_.x() : 0) +
                                ((edges_ & Qt::BottomEdge) ? -translation_.y() : 0) +
                                ((edges_ & Qt::TopEdge) ? translation_.y() : 0);
            if (away >= kHysteresis) {
                fire(State::Began);
            }
        } else {
            fire(State::Changed);
        }
        return false;
    }
    // Released.
    tracking_ = false;
    if (state_ == State::Began || state_ == State::Changed) {
        fire(State::Ended);
    }
    state_ = State::Possible;
    return false;
}

}  // namespace vorna
