#include "theme/VRNColorConverter.h"

namespace vorna {

VRNColor VRNColorConverter::colorFromHex(std::string_view hex) {
    return VRNColor::colorWithHexValue(hex);
}

}  // namespace vorna
