#include "qt/flow/VRNMessageBannerWindow.h"

#include <QPainterPath>
#include <QWindow>

#include "qt/flow/VRNMessageBannerVC.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {
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
            // Nothing of it is the banner's.
            return passThrough_.pass(event);
        case QEvent::Hide:
            passThrough_.reset();
            return false;
        default:
            return false;
    }
}

}  // namespace vorna
