#pragma once

#include <vector>

namespace vorna {

// The row of items along the bottom of the annotation screen: the three colour buttons,
// centred, and the Reset button on the left once something has been drawn.
class VRNAnnotationToolbar {
public:
    enum class Kind { FixedSpace, FlexibleSpace, Reset, Red, Black, White };

    struct Item {
        Kind kind;
        double width = 0;  // points; fixed spaces only

        bool operator==(const Item&) const = default;
    };

    static constexpr double kFixedSpaceWidth = 34;       // between two colour buttons
    static constexpr double kSmallFixedSpaceWidth = 15;  // before the first item
    // After the last flexible space: it balances the Reset button, so that the colour buttons
    // stay (nearly) where they were before Reset appeared.
    static constexpr double kRightFixedSpaceWidth = 45;

    // Left to right: 10 items with Reset, 8 without.
    static std::vector<Item> items(bool withReset);
};

}  // namespace vorna
