#pragma once

#include <functional>

#include "flow/VRNGeometry.h"

namespace vorna {

// Tells a tap on the floating button from a drag of it, from the pointer's presses, moves and
// releases in desktop coordinates. A press that is released without moving the drag distance
// is a tap (when released on the button); once the pointer has moved that far, the press is a
// drag, reported as pan phases with the movement since the previous report. A drag can be
// cancelled (Escape, the application losing the front): the release that follows means
// nothing.
//
// The toolkit translates its events into these calls and acts on the callbacks; nothing here
// knows a widget.
class VRNFloatingButtonTracker {
public:
    struct Callbacks {
        // One phase of the drag with the movement since the previous phase.
        std::function<void(VRNPanState, VRNPoint translation)> panned;
        std::function<void()> tapped;
        // The button shows pressed from the press until the drag starts or the press ends.
        std::function<void(bool)> pressedChanged;
        // A press is under way: the toolkit watches for what cancels it while this is true.
        std::function<void(bool)> trackingChanged;
    };

    explicit VRNFloatingButtonTracker(Callbacks callbacks) : callbacks_(std::move(callbacks)) {}

    void press(VRNPoint global);
    // `dragDistance`: how far the pointer moves before a press becomes a drag.
    void move(VRNPoint global, double dragDistance);
    // `onButton`: the release happened over the button.
    void release(VRNPoint global, bool onButton);
    void cancel();

    bool isTracking() const { return tracking_; }
    bool isPanning() const { return panning_; }

private:
    void endTracking();
    static void call(const std::function<void(bool)>& callback, bool value);

    Callbacks callbacks_;
    bool tracking_ = false;       // a press on the button is under way
    bool panning_ = false;        // ... and has become a drag
    bool ignoreRelease_ = false;  // the drag was cancelled; its release means nothing
    VRNPoint pressed_;
    VRNPoint last_;
};

}  // namespace vorna
