#pragma once

#include <string_view>

#include "theme/VRNColor.h"

namespace vorna {

// Turns the hex strings of the branding record and the backend's white-labeling answer into
// colours. The same rule as VRNColor::colorWithHexValue: the first character is skipped
// whatever it is, so "#1144f1" is #1144F1 and "6182f1" is #0182F1.
class VRNColorConverter {
public:
    static VRNColor colorFromHex(std::string_view hex);
};

}  // namespace vorna
