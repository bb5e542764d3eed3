#include "qt/invocation/VRNMotionListener.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMoveEvent>
#include <QWidget>
#include <QWindow>

#include "invocation/VornaInvocationManager.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNRunLoop.h"
#include "qt/invocation/VRNMotionEvent.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {

VRNMotionListener::VRNMotionListener(QObject* parent) : QObject(parent) {
    clock_.start();
    if (auto* app = QCoreApplication::instance()) {
        app->installEventFilter(this);
    }
}

void VRNMotionListener::deliverShake(QWindow* window) {
    if (!window) {
        if (QWidget* key = VRNWindowStack::keyWindow()) {
            window = key->windowHandle();
        }
    }
    if (!window) {
        return;
    }
    VRNMotionEvent shake(VRNMotionEvent::MotionShake);
    QCoreApplication::sendEvent(window, &shake);
}

bool VRNMotionListener::isShakeChord(int key, Qt::KeyboardModifiers modifiers) {
    const auto relevant =
        modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier);
    return key == Qt::Key_B && relevant == (Qt::ControlModifier | Qt::AltModifier);
}

qint64 VRNMotionListener::msecsSincePrintKey() const {
    return lastPrintKey_ < 0 ? -1 : clock_.elapsed() - lastPrintKey_;
}

void VRNMotionListener::setClock(std::function<double()> clock) {
    testClock_ = std::move(clock);
    windowShakes_.clear();
}

double VRNMotionListener::now() const {
    return testClock_ ? testClock_() : static_cast<double>(clock_.nsecsElapsed()) / 1e9;
}

bool VRNMotionListener::eventFilter(QObject* watched, QEvent* event) {
    if (!watched->isWindowType()) {
        return false;
    }
    auto* window = static_cast<QWindow*>(watched);
    const QEvent::Type type = event->type();
    if (type == VRNMotionEvent::motionBeganType()) {
        VornaInvocationManager::sharedInstance()->motionBegan(
            static_cast<VRNMotionEvent*>(event)->subtype());
    } else if (type == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Print && !key->isAutoRepeat()) {
            lastPrintKey_ = clock_.elapsed();
            // Posted, so that the key reaches the host (and the desktop takes its picture)
            // before a report opens.
            VRNRunLoop::main()->post([] {
                VRNNotificationCenter::defaultCenter().post(
                    VRNApplicationUserDidTakeScreenshotNotification);
            });
        } else if (isShakeChord(key->key(), key->modifiers()) && !key->isAutoRepeat()) {
            deliverShake(window);
        }
    } else if (type == QEvent::Move && window->isVisible()) {
        if (windowShakes_[window].addPosition(now(), window->x())) {
            deliverShake(window);
        }
    } else if (type == QEvent::Hide) {
        windowShakes_.remove(window);
    }
    return false;
}

}  // namespace vorna
