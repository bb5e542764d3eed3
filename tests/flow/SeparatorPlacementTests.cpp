#include <gtest/gtest.h>

#include "flow/VRNSeparatorPlacement.h"

namespace vorna {
namespace {

TEST(SeparatorPlacementTests, EachStyleHasItsOwnLine) {
    using P = VRNSeparatorPlacement;
    EXPECT_EQ(P::forStyle(1), (P{true, 0, std::nullopt}));
    EXPECT_EQ(P::forStyle(2), (P{false, 20, 1.0}));
    EXPECT_EQ(P::forStyle(4), (P{false, 20, 0.8}));
    // Styles the screen never uses fall back to a line right under the value.
    for (int style : {0, 3, 5, -1}) {
        EXPECT_EQ(P::forStyle(style), (P{false, 0, std::nullopt})) << style;
    }
}

}  // namespace
}  // namespace vorna
