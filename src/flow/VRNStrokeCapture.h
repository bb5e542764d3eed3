#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "flow/VRNGeometry.h"

namespace vorna {

// The stroke under the finger, in the drawing surface's own coordinates; absent between
// strokes. One list for the whole process: only one annotation screen exists at a time, and
// its drawing surface reads the list when it paints.
extern std::optional<std::vector<VRNPoint>> pointsToDraw;

// Collects one stroke into `pointsToDraw` from the pointer events of the drawing surface. One
// pointer is followed: the one that pressed while none was followed (the mouse, or the first
// finger of a touch); other fingers are ignored until it lifts. A press starts a new list with
// its point, each move adds one, and the release ends the stroke: `strokeEnded` runs while the
// points are still there (to burn them into the picture), then the list goes. A cancelled
// touch ends nothing: the stroke stays in the list, and on screen, until the next press.
//
//   Idle --press--> Following --move (adds a point)--> Following
//                       |--release--> strokeEnded, list absent --> Idle
//                       '--cancel--> Idle (list kept)
class VRNStrokeCapture {
public:
    using PointerId = long long;

    struct Callbacks {
        // The surface should repaint: the list changed.
        std::function<void()> needsDisplay;
        // The followed pointer was released; runs before the list is cleared.
        std::function<void()> strokeEnded;
    };

    explicit VRNStrokeCapture(Callbacks callbacks) : callbacks_(std::move(callbacks)) {}

    void setStrokeEnded(std::function<void()> strokeEnded) {
        callbacks_.strokeEnded = std::move(strokeEnded);
    }

    void pressed(PointerId pointer, VRNPoint location);
    void moved(PointerId pointer, VRNPoint location);
    void released(PointerId pointer);
    // The window system took the touches away (a gesture of its own, the window lost).
    void cancelled();

    bool isFollowing() const { return followed_.has_value(); }

    // What the surface strokes: the list when it holds at least two points, else nothing (a
    // single point draws no dot).
    static const std::vector<VRNPoint>* strokeToDraw();

private:
    void append(VRNPoint location);

    Callbacks callbacks_;
    std::optional<PointerId> followed_;
};

}  // namespace vorna
