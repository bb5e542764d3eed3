#include "qt/platform/VRNWindowStack.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <QWindow>

#include <algorithm>

#include "qt/platform/VRNKitWindow.h"

namespace vorna {
namespace {

QPointer<VRNWindowStack>& currentStack() {
    static QPointer<VRNWindowStack> stack;
    return stack;
}

bool takesFocus(const QWidget* window) {
    return !(window->windowFlags() & Qt::WindowDoesNotAcceptFocus) &&
           window->windowType() != Qt::Popup && window->windowType() != Qt::ToolTip &&
           window->windowType() != Qt::SplashScreen;
}

}  // namespace

VRNWindowStack::VRNWindowStack(QObject* parent) : QObject(parent) {
    currentStack() = this;
    if (auto* app = QCoreApplication::instance()) {
        app->installEventFilter(this);
    }
}

VRNWindowStack::~VRNWindowStack() {
    if (currentStack() == this) {
        currentStack() = nullptr;
    }
}

VRNWindowStack* VRNWindowStack::current() {
    return currentStack();
}

double VRNWindowStack::windowLevel(const QWidget* window) {
    if (const auto* kit = qobject_cast<const VRNKitWindow*>(window)) {
        return kit->windowLevel();
    }
    const Qt::WindowType type = window->windowType();
    if (type == Qt::Popup || type == Qt::ToolTip || type == Qt::SplashScreen) {
        return VRNWindowLevelAlert;
    }
    if (window->windowFlags() & Qt::WindowStaysOnTopHint) {
        return VRNWindowLevelStatusBar;
    }
    return VRNWindowLevelNormal;
}

bool VRNWindowStack::eventFilter(QObject* watched, QEvent* event) {
    if (watched->isWindowType()) {
        switch (event->type()) {
            case QEvent::Show:
            case QEvent::FocusIn:
                raised_.insert(static_cast<QWindow*>(watched), ++counter_);
                break;
            case QEvent::Hide:
                raised_.remove(static_cast<QWindow*>(watched));
                break;
            default:
                break;
        }
    }
    return false;
}

quint64 VRNWindowStack::raisedOrder(QWindow* window) const {
    return raised_.value(window, 0);
}

QList<QWidget*> VRNWindowStack::windows() {
    struct Entry {
        QWidget* widget;
        double level;
        bool active;
        quint64 raised;
        qsizetype created;
    };
    // QGuiApplication lists its windows newest first.
    const QList<QWindow*> byCreation = QGuiApplication::topLevelWindows();
    const VRNWindowStack* stack = current();
    QList<Entry> entries;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (!widget->isVisible() || widget->windowType() == Qt::Desktop) {
            continue;
        }
        QWindow* handle = widget->windowHandle();
        const qsizetype index = handle ? byCreation.indexOf(handle) : -1;
        entries.append(Entry{widget, windowLevel(widget), widget->isActiveWindow(),
                             stack && handle ? stack->raisedOrder(handle) : 0,
                             index < 0 ? byCreation.size() : byCreation.size() - index});
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.level != b.level) {
            return a.level < b.level;
        }
        if (a.active != b.active) {
            return b.active;
        }
        if (a.raised != b.raised) {
            return a.raised < b.raised;
        }
        return a.created < b.created;
    });
    QList<QWidget*> ordered;
    ordered.reserve(entries.size());
    for (const Entry& entry : entries) {
        ordered.append(entry.widget);
    }
    return ordered;
}

QWidget* VRNWindowStack::keyWindow() {
    if (QWidget* active = QApplication::activeWindow(); active && takesFocus(active)) {
        return active;
    }
    const QList<QWidget*> stack = windows();
    for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
        QWidget* window = *it;
        if (takesFocus(window) && !window->isMinimized()) {
            return window;
        }
    }
    return nullptr;
}

QWidget* VRNWindowStack::windowAt(const QPointF& globalPosition, const QWidget* except) {
    const QList<QWidget*> stack = windows();
    for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
        QWidget* window = *it;
        if (window == except || window->isMinimized() ||
            window->testAttribute(Qt::WA_TransparentForMouseEvents) ||
            (window->windowFlags() & Qt::WindowTransparentForInput)) {
            continue;
        }
        if (QRectF(window->geometry()).contains(globalPosition)) {
            return window;
        }
    }
    return nullptr;
}

}  // namespace vorna
