#include "flow/VRNTextGrowth.h"

#include <algorithm>
#include <cmath>

namespace vorna {

double threeLinesHeight = 0.0;

VRNTextGrowthResult VRNTextGrowth::textDidChange(double fittedHeight, double verticalInsets,
                                                 double lineHeight) {
    VRNTextGrowthResult result;
    const double lines =
        lineHeight > 0 ? std::floor((fittedHeight - verticalInsets) / lineHeight) : 0.0;
    // A measured height is finite; the clamp only keeps the conversion defined.
    result.lineCount = static_cast<int>(std::clamp(lines, -1e9, 1e9));
    if (result.lineCount == 3) {
        threeLinesHeight = fittedHeight;
    }
    result.scrollEnabled = result.lineCount > 3;
    result.height = result.lineCount >= 3 ? threeLinesHeight : fittedHeight;
    return result;
}

}  // namespace vorna
