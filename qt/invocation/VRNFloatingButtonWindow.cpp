#include "qt/invocation/VRNFloatingButtonWindow.h"

#include <QMetaObject>
#include <QMouseEvent>
#include <QRegion>
#include <QWindow>

#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonView.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {

VRNFloatingButtonWindow::VRNFloatingButtonWindow()
    : VRNKitWindow(VRNWindowStack::VRNWindowLevelNormal + 1.0,
                   Qt::Tool | Qt::WindowDoesNotAcceptFocus) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    // Above every window of the screen it would cover other applications and take their
    // clicks; the host's own windows are followed instead (stayAbove).
    setWindowFlag(Qt::WindowStaysOnTopHint, false);

    auto& center = VRNNotificationCenter::defaultCenter();
    // Queued: the life cycle may be posted from any thread, and the window is the GUI thread's.
    observers_.push_back(center.subscribe(
        VRNApplicationDidEnterBackgroundNotification, [this](const VRNNotification&) {
            QMetaObject::invokeMethod(
                this, [this] { hostWentAway(); }, Qt::QueuedConnection);
        }));
    observers_.push_back(center.subscribe(
        VRNApplicationWillEnterForegroundNotification, [this](const VRNNotification&) {
            QMetaObject::invokeMethod(
                this, [this] { hostCameBack(); }, Qt::QueuedConnection);
        }));
}

void VRNFloatingButtonWindow::hostWentAway() {
    if (isVisible()) {
        awayWithHost_ = true;
        hide();
    }
}

void VRNFloatingButtonWindow::hostCameBack() {
    if (awayWithHost_) {
        awayWithHost_ = false;
        show();
    }
}

void VRNFloatingButtonWindow::stayAbove() {
    // A tool window is transient for the host's whole window group, which window managers keep
    // it above; without a window manager the last window raised is on top.
    if (!isVisible()) {
        return;
    }
    raiseWindow();
    // The kit's windows above the button's level (the report flow, the banner) stay above it.
    for (QWidget* window : VRNWindowStack::windows()) {
        auto* kitWindow = qobject_cast<VRNKitWindow*>(window);
        if (kitWindow && kitWindow != this && kitWindow->windowLevel() > windowLevel()) {
            kitWindow->raiseWindow();
        }
    }
}

void VRNFloatingButtonWindow::setRootViewController(VRNFloatingButtonVC* controller) {
    rootViewController_ = controller;
    if (!controller) {
        return;
    }
    controller->setParent(this);
    VRNFloatingButtonView* view = controller->getMainView();
    view->setParent(this);
    view->setGeometry(rect());
    view->show();
    connect(view, &VRNFloatingButtonView::buttonFrameChanged, this,
            &VRNFloatingButtonWindow::updateShape);
    updateShape();
}

VRNFloatingButtonVC* VRNFloatingButtonWindow::rootViewController() const {
    return rootViewController_;
}

bool VRNFloatingButtonWindow::pointInside(const QPointF& point) const {
    if (!rootViewController_) {
        return false;
    }
    return rootViewController_->getMainView()->pointInside(point);
}

void VRNFloatingButtonWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (rootViewController_) {
        rootViewController_->getMainView()->setGeometry(rect());
    }
}

void VRNFloatingButtonWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (QWindow* handle = windowHandle()) {
        // Installing again replaces the earlier installation; the handle may be a new one.
        handle->installEventFilter(this);
    }
}

void VRNFloatingButtonWindow::updateShape() {
    if (!rootViewController_) {
        return;
    }
    const QRectF frame = rootViewController_->getMainView()->buttonFrame();
    setMask(QRegion(frame.toAlignedRect(), QRegion::Ellipse));
}

bool VRNFloatingButtonWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != windowHandle()) {
        return QWidget::eventFilter(watched, event);
    }
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease:
        case QEvent::Wheel:
            return forward(event);
        case QEvent::Hide:
            pressOnButton_ = false;
            passThrough_.reset();
            if (rootViewController_) {
                rootViewController_->cancelDrag();
            }
            return false;
        default:
            return false;
    }
}

bool VRNFloatingButtonWindow::forward(QEvent* event) {
    const auto* pointer = static_cast<QSinglePointEvent*>(event);
    const QPointF global = pointer->globalPosition();
    const QEvent::Type type = event->type();
    const bool startsPress =
        type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
    const bool endsPress = type == QEvent::MouseButtonRelease && pointer->buttons() == Qt::NoButton;
    const bool hovers =
        type == QEvent::Wheel || (type == QEvent::MouseMove && pointer->buttons() == Qt::NoButton);

    if (startsPress && pointInside(mapFromGlobal(global))) {
        pressOnButton_ = true;
        passThrough_.reset();
        rootViewController_->pointerEvent(event);
        return true;
    }
    if (pressOnButton_) {
        // A press that began on the button stays with the button until it is released, wherever
        // the pointer goes.
        if (endsPress) {
            pressOnButton_ = false;
        }
        if (type != QEvent::Wheel && rootViewController_) {
            rootViewController_->pointerEvent(event);
        }
        return true;
    }
    if (hovers && !passThrough_.isPressUnderWay() && pointInside(mapFromGlobal(global))) {
        return false;
    }
    return passThrough_.pass(event);
}

}  // namespace vorna
