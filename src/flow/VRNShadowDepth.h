#pragma once

namespace vorna {

// The deepest the shadow under the description field gets, in points.
extern const double maxShadowHeight;

// The faint shadow along the lower edge of the description field shows that content has moved
// up under it: it deepens with the enclosing content's offset up to maxShadowHeight, and
// shrinks and goes as the content is pulled back down.
class VRNShadowDepth {
public:
    // The depth after the enclosing content moved to `offsetY`, from the depth `depth` before.
    // `pullsPastTop`: the content can be pulled beyond its top, and coming back past the top
    // reports offsets below zero that take the shadow away bit by bit. Content that stops at its
    // top (a desktop scroll area) reports its top as 0, and being there takes the shadow away.
    static double depthAfterScroll(double depth, double offsetY, bool pullsPastTop);
};

}  // namespace vorna
