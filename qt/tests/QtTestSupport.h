#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <atomic>
#include <memory>

#include "connectivity/VRNConnection.h"
#include "flow/VRNCoordinator.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNRunLoop.h"
#include "state/VRNAppRepository.h"
#include "support/FakeReachability.h"
#include "support/TempDir.h"
#include "core/VRNVornaInstance.h"

// Moves the pointer as the window system does, with positions that may have fractions (the
// QTest helpers take whole points only).
QT_BEGIN_NAMESPACE
Q_GUI_EXPORT void qt_handleMouseEvent(QWindow* window, const QPointF& local, const QPointF& global,
                                      Qt::MouseButtons state, Qt::MouseButton button,
                                      QEvent::Type type, Qt::KeyboardModifiers mods, int timestamp);
QT_END_NAMESPACE

namespace vorna::test {

// A screen of the size a test needs, whatever the platform's own screen is.
class FakeScreen : public VRNDeviceProvider {
public:
    explicit FakeScreen(VRNScreenInfo info) : info_(info) {}
    VRNScreenInfo mainScreen() const override { return info_; }

private:
    VRNScreenInfo info_;
};

class ScopedScreen {
public:
    ScopedScreen(double width, double height, double scale = 1)
        : previous_(VRNDeviceProvider::current()) {
        VRNDeviceProvider::setCurrent(std::make_shared<FakeScreen>(
            VRNScreenInfo{width, height, width * scale, height * scale, scale}));
    }
    ~ScopedScreen() { VRNDeviceProvider::setCurrent(previous_); }
    ScopedScreen(const ScopedScreen&) = delete;
    ScopedScreen& operator=(const ScopedScreen&) = delete;

private:
    std::shared_ptr<VRNDeviceProvider> previous_;
};

// The pointer of the tests: press, move and release at points of a window, fractions allowed.
class Pointer {
public:
    explicit Pointer(QWindow* window) : window_(window) {}
    void press(QPointF at) { send(at, Qt::LeftButton, Qt::LeftButton, QEvent::MouseButtonPress); }
    void move(QPointF at) {
        send(at, held_ ? Qt::LeftButton : Qt::NoButton, Qt::NoButton, QEvent::MouseMove);
    }
    void release(QPointF at) { send(at, Qt::NoButton, Qt::LeftButton, QEvent::MouseButtonRelease); }
    void click(QPointF at) {
        press(at);
        release(at);
    }
    // A press, moves in even steps to `to`, and the release there.
    void drag(QPointF from, QPointF to, int steps = 8) {
        press(from);
        for (int i = 1; i <= steps; ++i) {
            move(from + (to - from) * (static_cast<double>(i) / steps));
        }
        release(to);
    }

private:
    void send(QPointF at, Qt::MouseButtons buttons, Qt::MouseButton button, QEvent::Type type) {
        held_ = buttons != Qt::NoButton;
        timestamp_ += 600;  // never a double click
        qt_handleMouseEvent(window_, at, window_->mapToGlobal(at), buttons, button, type,
                            Qt::NoModifier, timestamp_);
        QCoreApplication::processEvents();
    }

    QWindow* window_;
    bool held_ = false;
    static inline int timestamp_ = 1000;
};

// A coordinator that is done as soon as it starts: each invocation that reaches the facade's
// display() is counted, and the next one builds a new flow.
class CountingCoordinator : public VRNCoordinatorProtocol {
public:
    explicit CountingCoordinator(std::atomic<int>& started) : started_(started) {}
    void start() override {
        ++started_;
        if (onFinish_) {
            onFinish_();
        }
    }
    void setOnCoordinatorFinish(std::function<void()> onFinish) override {
        onFinish_ = std::move(onFinish);
    }

private:
    std::atomic<int>& started_;
    std::function<void()> onFinish_;
};

// A facade of its own (no backend, no network) whose display() is what every invocation path
// of the shared invocation manager reaches, as after the facade's start.
class DisplayCounter {
public:
    DisplayCounter() {
        VRNVornaInstance::Dependencies deps;
        deps.makeCoordinator = [this](VRNCoordinatorContext) {
            return std::make_shared<CountingCoordinator>(displays);
        };
        deps.appRepository = std::make_shared<VRNAppRepository>(
            std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
        deps.connection = std::make_shared<VRNConnection>(
            std::make_unique<FakeReachability>(std::make_shared<FakeReachability::Shared>()),
            VRNRunLoop::main(), center);
        deps.notificationCenter = &center;
        deps.makeFileManager = [] { return nullptr; };
        deps.makeUploader = [](auto, auto) { return nullptr; };
        vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
    }
    ~DisplayCounter() = default;
    DisplayCounter(const DisplayCounter&) = delete;
    DisplayCounter& operator=(const DisplayCounter&) = delete;

    // What the facade's start installs in the invocation manager.
    std::function<void()> display() {
        std::weak_ptr<VRNVornaInstance> weak = vorna;
        return [weak] {
            if (auto self = weak.lock()) {
                self->display();
            }
        };
    }

    std::atomic<int> displays{0};
    TempDir dir;
    VRNNotificationCenter center;
    std::shared_ptr<VRNVornaInstance> vorna;
};

// Lets queued work (the kit's run loop, deferred deletes, window system events) happen.
inline void settle() {
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

// Lets events happen until `condition` holds; false if it still does not after `timeoutMs`.
// (The QTRY macros report to Qt Test, not to GoogleTest.)
template <class Condition>
bool waitUntil(Condition condition, int timeoutMs = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > timeoutMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

// Shows a window and waits until it is on screen and, unless told otherwise, active.
inline void showWindow(QWidget* window, bool activate = true) {
    window->show();
    (void)QTest::qWaitForWindowExposed(window);
    if (activate) {
        window->activateWindow();
        (void)QTest::qWaitForWindowActive(window);
    }
    settle();
}

}  // namespace vorna::test
