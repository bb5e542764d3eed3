#pragma once

#include <optional>

namespace vorna {

// Where a titled row of the inspect screen draws the line under its value, by the row's
// separator style: 1 hides it right under the value; 4 is a short line (0.8 of the row) and 2
// a full one, each 20 points under the value; any other style puts it right under the value
// at the line's default width.
struct VRNSeparatorPlacement {
    bool hidden = false;
    double gapAbove = 0;                  // points between the value and the line
    std::optional<double> widthFraction;  // of the row's width; empty: the default width

    bool operator==(const VRNSeparatorPlacement&) const = default;

    static VRNSeparatorPlacement forStyle(int separatorStyle);
};

}  // namespace vorna
