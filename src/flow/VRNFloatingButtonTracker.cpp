#include "flow/VRNFloatingButtonTracker.h"

#include <cmath>

namespace vorna {

void VRNFloatingButtonTracker::call(const std::function<void(bool)>& callback, bool value) {
    if (callback) {
        callback(value);
    }
}

void VRNFloatingButtonTracker::press(VRNPoint global) {
    tracking_ = true;
    panning_ = false;
    ignoreRelease_ = false;
    pressed_ = last_ = global;
    call(callbacks_.pressedChanged, true);
    call(callbacks_.trackingChanged, true);
}

void VRNFloatingButtonTracker::move(VRNPoint global, double dragDistance) {
    if (!tracking_) {
        return;
    }
    const VRNPoint step{global.x - last_.x, global.y - last_.y};
    if (!panning_) {
        if (std::hypot(global.x - pressed_.x, global.y - pressed_.y) < dragDistance) {
            return;
        }
        panning_ = true;
        call(callbacks_.pressedChanged, false);
        last_ = global;
        if (callbacks_.panned) {
            callbacks_.panned(VRNPanState::Began, step);
        }
        return;
    }
    last_ = global;
    if (callbacks_.panned) {
        callbacks_.panned(VRNPanState::Changed, step);
    }
}

void VRNFloatingButtonTracker::release(VRNPoint global, bool onButton) {
    if (ignoreRelease_) {
        ignoreRelease_ = false;
        return;
    }
    if (!tracking_) {
        return;
    }
    const bool wasPanning = panning_;
    const VRNPoint step{global.x - last_.x, global.y - last_.y};
    endTracking();
    if (wasPanning) {
        if (callbacks_.panned) {
            callbacks_.panned(VRNPanState::Ended, step);
        }
    } else if (onButton && callbacks_.tapped) {
        callbacks_.tapped();
    }
}

void VRNFloatingButtonTracker::cancel() {
    if (!tracking_) {
        return;
    }
    const bool wasPanning = panning_;
    endTracking();
    ignoreRelease_ = true;
    if (wasPanning && callbacks_.panned) {
        callbacks_.panned(VRNPanState::Cancelled, VRNPoint{});
    }
}

void VRNFloatingButtonTracker::endTracking() {
    tracking_ = false;
    panning_ = false;
    call(callbacks_.pressedChanged, false);
    call(callbacks_.trackingChanged, false);
}

}  // namespace vorna
