#include "qt/flow/VRNMessageBannerWindow.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainterPath>
#include <QWheelEvent>
#include <QWindow>

#include "qt/flow/VRNMessageBannerVC.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {
namespace {

// A pointer event as the window beneath would have had it from the window system.
void deliver(QEvent* event, QWindow* target) {
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

}  // namespace

VRNMessageBannerWindow::VRNMessageBannerWindow(const QRect& mainScreenBounds)
    : VRNKitWindow(VRNWindowStack::VRNWindowLevelNormal + 2.0,
                   Qt::Tool | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput),
      rootViewController_(std::make_shared<VRNMessageBannerVC>()) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(mainScreenBounds);
    QWidget* root = rootViewController_->view();
    root->setParent(this);
    root->setGeometry(rect());
    root->show();
}

// The root view goes with the window, after its controller.
VRNMessageBannerWindow::~VRNMessageBannerWindow() = default;

void VRNMessageBannerWindow::setHidden(bool hidden) {
    QWidget::setHidden(hidden);
}

bool VRNMessageBannerWindow::isHidden() const {
    return QWidget::isHidden();
}

void VRNMessageBannerWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    rootViewController_->view()->setGeometry(rect());
    updateShape();
}

void VRNMessageBannerWindow::updateShape() {
    // The window covers the screen but exists only where the strip is: without a compositing
    // window manager a transparent window shows black, so where the window system can shape
    // windows the rest of it is not there at all.
    QWidget* strip = rootViewController_->bannerView();
    if (!strip) {
        return;
    }
    rootViewController_->viewDidLayoutSubviews();
    QPainterPath outline;
    outline.addRoundedRect(QRectF(strip->geometry()), VRNMessageBannerVC::kCornerRadius,
                           VRNMessageBannerVC::kCornerRadius);
    setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

bool VRNMessageBannerWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        // A platform that activates every window it shows gets the activation handed back to
        // the host's window: the banner must not take the keyboard from it.
        if (QWidget* host = VRNWindowStack::keyWindow(); host && host != this) {
            host->activateWindow();
        }
    }
    return QWidget::event(event);
}

void VRNMessageBannerWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updateShape();
    if (QWindow* handle = windowHandle()) {
        // Installing again replaces the earlier installation; the handle may be a new one.
        handle->installEventFilter(this);
    }
}

bool VRNMessageBannerWindow::eventFilter(QObject* watched, QEvent* event) {
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
            pressUnderWay_ = false;
            pressTarget_.clear();
            return false;
        default:
            return false;
    }
}

bool VRNMessageBannerWindow::forward(QEvent* event) {
    const auto* pointer = static_cast<QSinglePointEvent*>(event);
    const QPointF global = pointer->globalPosition();
    const QEvent::Type type = event->type();
    const auto beneath = [this, global]() -> QWindow* {
        QWidget* window = VRNWindowStack::windowAt(global, this);
        return window ? window->windowHandle() : nullptr;
    };
    QWindow* target = nullptr;
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick) {
        // A press goes, with the moves and the release that follow it, to the window that was
        // beneath where it began.
        if (!pressUnderWay_) {
            pressTarget_ = beneath();
            pressUnderWay_ = true;
        }
        target = pressTarget_;
    } else if (pressUnderWay_) {
        target = pressTarget_;
        if (type == QEvent::MouseButtonRelease && pointer->buttons() == Qt::NoButton) {
            pressUnderWay_ = false;
            pressTarget_.clear();
        }
    } else {
        // Hovering and scrolling go to whatever is beneath at each event.
        target = beneath();
    }
    if (target) {
        deliver(event, target);
    }
    // Nothing of it is the banner's.
    return true;
}

}  // namespace vorna
