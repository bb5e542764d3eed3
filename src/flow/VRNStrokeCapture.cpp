#include "flow/VRNStrokeCapture.h"

namespace vorna {

std::optional<std::vector<VRNPoint>> pointsToDraw;

void VRNStrokeCapture::pressed(PointerId pointer, VRNPoint location) {
    if (followed_) {
        return;
    }
    followed_ = pointer;
    pointsToDraw.emplace();
    append(location);
}

void VRNStrokeCapture::moved(PointerId pointer, VRNPoint location) {
    if (followed_ == pointer) {
        append(location);
    }
}

void VRNStrokeCapture::released(PointerId pointer) {
    if (followed_ != pointer) {
        return;
    }
    followed_.reset();
    // The screen always installs the burn-in; a surface without one just lets the stroke go.
    if (callbacks_.strokeEnded) {
        callbacks_.strokeEnded();
    }
    pointsToDraw.reset();
    if (callbacks_.needsDisplay) {
        callbacks_.needsDisplay();
    }
}

void VRNStrokeCapture::cancelled() {
    followed_.reset();
}

void VRNStrokeCapture::append(VRNPoint location) {
    // The list is shared: should something have cleared it mid-stroke, the rest of the stroke
    // adds nothing until the next press.
    if (pointsToDraw) {
        pointsToDraw->push_back(location);
    }
    if (callbacks_.needsDisplay) {
        callbacks_.needsDisplay();
    }
}

const std::vector<VRNPoint>* VRNStrokeCapture::strokeToDraw() {
    return pointsToDraw && pointsToDraw->size() >= 2 ? &*pointsToDraw : nullptr;
}

}  // namespace vorna
