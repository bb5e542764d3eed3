#pragma once

namespace vorna {

// Points, sizes and rectangles of the screens, in points, origin at the top-left corner, y
// growing downwards.
struct VRNPoint {
    double x = 0;
    double y = 0;

    bool operator==(const VRNPoint&) const = default;
};

struct VRNSize {
    double width = 0;
    double height = 0;

    bool operator==(const VRNSize&) const = default;
};

struct VRNRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const VRNRect&) const = default;
    // Left and top edges belong to the rectangle, right and bottom edges do not.
    bool contains(double px, double py) const {
        return px >= x && px < x + width && py >= y && py < y + height;
    }
    bool isEmpty() const { return width <= 0 || height <= 0; }
};

// The phases of a drag or a pan gesture, with the raw values the toolkits use.
enum class VRNPanState { Possible = 0, Began = 1, Changed = 2, Ended = 3, Cancelled = 4 };

}  // namespace vorna
