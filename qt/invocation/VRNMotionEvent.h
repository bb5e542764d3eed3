#pragma once

#include <QEvent>

namespace vorna {

// A motion of the device reaching a window, the way a key or a mouse event does. Sent to a
// window's QWindow; every window of the application reports it to the invocation manager
// (VRNMotionListener) and passes it on unchanged.
class VRNMotionEvent : public QEvent {
public:
    // The motion subtypes, with the platform's raw values.
    enum Subtype { MotionNone = 0, MotionShake = 1 };

    explicit VRNMotionEvent(Subtype subtype) : QEvent(motionBeganType()), subtype_(subtype) {}

    Subtype subtype() const { return subtype_; }

    static QEvent::Type motionBeganType() {
        static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }

private:
    Subtype subtype_;
};

}  // namespace vorna
