#include "flow/VRNShadowDepth.h"

#include <cmath>
#include <cstdlib>

namespace vorna {

const double maxShadowHeight = 10.0;

double VRNShadowDepth::depthAfterScroll(double depth, double offsetY, bool pullsPastTop) {
    if (offsetY > 0) {
        return maxShadowHeight > std::abs(std::trunc(offsetY)) ? offsetY : maxShadowHeight;
    }
    if (!pullsPastTop) {
        return 0.0;
    }
    return depth + offsetY > 0 ? depth + offsetY : 0.0;
}

}  // namespace vorna
