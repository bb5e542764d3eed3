#include "qt/platform/VRNKitWindow.h"

#include <QApplication>
#include <QWindow>

#include "qt/platform/VRNWindowStack.h"

namespace vorna {
namespace {

bool isHostType(Qt::WindowType type) {
    return type == Qt::Window || type == Qt::Dialog || type == Qt::Sheet || type == Qt::Drawer;
}

}  // namespace

VRNKitWindow::VRNKitWindow(double level, Qt::WindowFlags flags)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::NoDropShadowWindowHint | flags),
      level_(level) {
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(QStringLiteral("Vorna"));
}

bool VRNKitWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate &&
        windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus)) {
        if (QWidget* host = VRNWindowStack::keyWindow(); host && host != this) {
            host->activateWindow();
        }
    }
    return QWidget::event(event);
}

void VRNKitWindow::raiseWindow() {
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("offscreen") && platform != QLatin1String("minimal")) {
        raise();
    }
}

bool VRNKitWindow::isKitWindow(const QWidget* window) {
    return qobject_cast<const VRNKitWindow*>(window) != nullptr;
}

bool VRNKitWindow::isKitWindow(const QWindow* window) {
    if (!window || !qobject_cast<QApplication*>(QCoreApplication::instance())) {
        return false;
    }
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->windowHandle() == window) {
            return isKitWindow(widget);
        }
    }
    return false;
}

bool VRNKitWindow::isHostWindow(const QWidget* window) {
    return window && window->isWindow() && !isKitWindow(window) &&
           isHostType(window->windowType());
}

bool VRNKitWindow::isHostWindow(const QWindow* window) {
    return window && !isKitWindow(window) && isHostType(window->type());
}

}  // namespace vorna
