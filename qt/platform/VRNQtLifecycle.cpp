#include "qt/platform/VRNQtLifecycle.h"

#include <QGuiApplication>
#include <QTimer>
#include <QWindow>

#include "platform/loop/VRNNotificationCenter.h"
#include "qt/platform/VRNKitWindow.h"

namespace vorna {
VRNQtLifecycle::VRNQtLifecycle(VRNNotificationCenter& center, QObject* parent)
    : QObject(parent), center_(center), state_(stateFor(QGuiApplication::applicationState())) {
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::applicationStateChanged, this,
                &VRNQtLifecycle::scheduleUpdate);
        app->installEventFilter(this);
    }
}

VRNQtLifecycle::State VRNQtLifecycle::stateFor(Qt::ApplicationState state) {
    switch (state) {
        case Qt::ApplicationActive:
            return State::Active;
        case Qt::ApplicationInactive:
            return State::Inactive;
        case Qt::ApplicationHidden:
        case Qt::ApplicationSuspended:
            return State::Background;
    }
    return State::Inactive;
}

std::vector<const char*> VRNQtLifecycle::notificationsForTransition(State from, State to) {
    return VRNNotificationsForTransition(from, to);
}

bool VRNQtLifecycle::eventFilter(QObject* watched, QEvent* event) {
    if (watched->isWindowType()) {
        switch (event->type()) {
            case QEvent::Show:
            case QEvent::Hide:
            case QEvent::WindowStateChange:
                scheduleUpdate();
                break;
            default:
                break;
        }
    }
    return false;
}

void VRNQtLifecycle::scheduleUpdate() {
    // Windows report showing, hiding and minimising before their new state reads back, and one
    // change of focus may come as several state changes: look once things have settled.
    if (updateScheduled_) {
        return;
    }
    updateScheduled_ = true;
    QTimer::singleShot(0, this, &VRNQtLifecycle::update);
}

bool VRNQtLifecycle::windowsAway() {
    bool anyHostWindow = false;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (!VRNKitWindow::isHostWindow(window) || !window->isVisible()) {
            continue;
        }
        anyHostWindow = true;
        if (!(window->windowStates() & Qt::WindowMinimized)) {
            hostHadWindow_ = true;
            return false;
        }
    }
    // Before the host has shown a window the application is starting, not in the background.
    if (anyHostWindow) {
        hostHadWindow_ = true;
    }
    return hostHadWindow_;
}

void VRNQtLifecycle::update() {
    updateScheduled_ = false;
    State next = stateFor(QGuiApplication::applicationState());
    if (next != State::Background && windowsAway()) {
        next = State::Background;
    }
    const State previous = state_;
    state_ = next;
    for (const char* name : notificationsForTransition(previous, next)) {
        center_.post(name);
    }
}

}  // namespace vorna
