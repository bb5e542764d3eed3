#include "flow/VRNSeparatorPlacement.h"

namespace vorna {

VRNSeparatorPlacement VRNSeparatorPlacement::forStyle(int separatorStyle) {
    switch (separatorStyle) {
        case 1:
            return VRNSeparatorPlacement{true, 0, std::nullopt};
        case 2:
            return VRNSeparatorPlacement{false, 20, 1.0};
        case 4:
            return VRNSeparatorPlacement{false, 20, 0.8};
        default:
            return VRNSeparatorPlacement{false, 0, std::nullopt};
    }
}

}  // namespace vorna
