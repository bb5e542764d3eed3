#include "qt/invocation/VRNHostWindowWatcher.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

#include "qt/platform/VRNKitWindow.h"

namespace vorna {

VRNHostWindowWatcher::VRNHostWindowWatcher(Callback callback, QObject* parent)
    : QObject(parent), callback_(std::move(callback)) {
    if (QCoreApplication* app = QCoreApplication::instance()) {
        app->installEventFilter(this);
    }
}

bool VRNHostWindowWatcher::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if ((type != QEvent::Show && type != QEvent::WindowActivate) || !watched->isWidgetType()) {
        return false;
    }
    auto* widget = static_cast<QWidget*>(watched);
    if (callback_ && VRNKitWindow::isHostWindow(widget)) {
        callback_(widget, type == QEvent::Show ? Change::Shown : Change::Activated);
    }
    return false;
}

}  // namespace vorna
