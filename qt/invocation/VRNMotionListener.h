#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

#include "qt/invocation/VRNWindowShakeDetector.h"

class QWindow;

namespace vorna {

// Every window of the application listens for motion: an application-wide event filter that
// looks at the events reaching each window and passes every one of them on unchanged.
//
// - A VRNMotionEvent reaching a window is reported to the invocation manager (motionBegan),
//   which opens a report for a shake when the shake gesture is selected.
// - On desktops the shake gesture is a quick left-right-left shake of a window by its title
//   bar, or the key chord Ctrl+Alt+B; either is delivered as a shake to the window.
// - The Print key reaching the application is a system screenshot: once the key has been
//   handled, the "user did take screenshot" notification is posted.
//
// The filter reacts to events addressed to a window (QWindow) only: each key press, move or
// motion reaches a window exactly once, while the widgets inside it may see it several times.
class VRNMotionListener : public QObject {
    Q_OBJECT

public:
    explicit VRNMotionListener(QObject* parent = nullptr);

    // Delivers a shake to `window`, or to the key window when none is given (nothing happens
    // without one).
    static void deliverShake(QWindow* window = nullptr);

    // The chord that stands for the shake gesture on a keyboard.
    static bool isShakeChord(int key, Qt::KeyboardModifiers modifiers);

    // Milliseconds since the Print key last reached the application; -1 if it never did.
    qint64 msecsSincePrintKey() const;

    // Seconds on a steady clock, for the time of each window move; tests put a clock of their
    // own (none: the real one).
    void setClock(std::function<double()> clock);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    double now() const;

    QElapsedTimer clock_;
    std::function<double()> testClock_;
    QHash<QWindow*, VRNWindowShakeDetector> windowShakes_;
    qint64 lastPrintKey_ = -1;
};

}  // namespace vorna
