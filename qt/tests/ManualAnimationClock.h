#pragma once

#include <QAbstractAnimation>
#include <QCoreApplication>

// Drives every Qt animation of the GUI thread by hand: while one of these exists, animations
// advance only when the test says how much time has passed, so a 0.4 s fade is checked at any
// moment of it without waiting.
namespace vorna::test {

class ManualAnimationClock : public QAnimationDriver {
public:
    ManualAnimationClock() {
        // Qt stops the driver while no animation runs and asks for the time since it started
        // again when one does.
        QObject::connect(this, &QAnimationDriver::started, [this] { startedAt_ = now_; });
        install();
    }
    ~ManualAnimationClock() override { uninstall(); }
    ManualAnimationClock(const ManualAnimationClock&) = delete;
    ManualAnimationClock& operator=(const ManualAnimationClock&) = delete;

    qint64 elapsed() const override { return now_ - startedAt_; }

    // Lets `ms` milliseconds pass, in steps of one frame, with the events they cause.
    void advance(qint64 ms, qint64 frame = 16) {
        const qint64 end = now_ + ms;
        while (now_ < end) {
            now_ = std::min(end, now_ + frame);
            QAnimationDriver::advance();
            QCoreApplication::processEvents();
        }
    }

private:
    qint64 now_ = 0;
    qint64 startedAt_ = 0;
};

}  // namespace vorna::test
