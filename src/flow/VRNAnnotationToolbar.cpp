#include "flow/VRNAnnotationToolbar.h"

namespace vorna {

std::vector<VRNAnnotationToolbar::Item> VRNAnnotationToolbar::items(bool withReset) {
    const Item smallFixedSpace{Kind::FixedSpace, kSmallFixedSpaceWidth};
    const Item fixedSpace{Kind::FixedSpace, kFixedSpaceWidth};
    const Item rightFixedSpace{Kind::FixedSpace, kRightFixedSpaceWidth};
    const Item flexSpace{Kind::FlexibleSpace};
    const Item red{Kind::Red};
    const Item black{Kind::Black};
    const Item white{Kind::White};
    if (withReset) {
        return {smallFixedSpace, Item{Kind::Reset}, flexSpace, red,       fixedSpace,
                black,           fixedSpace,        white,     flexSpace, rightFixedSpace};
    }
    return {smallFixedSpace, flexSpace, red, fixedSpace, black, fixedSpace, white, flexSpace};
}

}  // namespace vorna
