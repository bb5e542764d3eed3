#pragma once

#include <QPointer>
#include <QWindow>

class QEvent;
class QWidget;

namespace vorna {

// Hands the pointer events that reach one of the kit's windows, but are not for it, to the
// host's window beneath — where the window system cannot make the kit's window let them
// through itself (a platform that cannot shape windows or ignores "transparent for input").
//
// A press goes, with the moves and the release that follow it, to the window that was beneath
// where it began; a press over nothing of the application falls on nothing, and so does its
// rest. Hovering and scrolling go to whatever is beneath at each event.
class VRNPointerPassThrough {
public:
    // `window`: the kit's window, left out when looking for the window beneath.
    explicit VRNPointerPassThrough(const QWidget* window) : window_(window) {}

    // Passes a mouse or wheel event on; the event is then dealt with (true).
    bool pass(QEvent* event);
    // No press is under way any more (the kit's window hid, or took the press itself).
    void reset();
    bool isPressUnderWay() const { return pressUnderWay_; }

    // Sends a copy of a mouse or wheel event to `target`, in its coordinates, as the window
    // system would have.
    static void deliver(QEvent* event, QWindow* target);

private:
    QWindow* windowBeneath(const QPointF& global) const;

    const QWidget* window_;
    QPointer<QWindow> pressTarget_;
    bool pressUnderWay_ = false;
};

}  // namespace vorna
