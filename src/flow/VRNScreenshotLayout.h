#pragma once

#include "flow/VRNGeometry.h"

namespace vorna {

class VRNImage;
struct VRNScreenInfo;

// Where the annotation screen puts the picture and the toolbar. The picture keeps its own
// aspect (it covers only the application's windows, not the whole screen) and sits centred
// between the navigation bar and the toolbar, a twentieth of the screen's height away from each.
class VRNScreenshotLayout {
public:
    static constexpr double kToolbarHeight = 44;  // points

    // Main screen height divided by its width; 0 without a screen.
    static double ratio(const VRNScreenInfo& screen);
    // The picture's height divided by its width; for a picture without pixels, the screen's
    // (the area the tester may still draw on).
    static double ratio(const VRNImage& picture, const VRNScreenInfo& screen);
    // A twentieth of the main screen's height.
    static double verticalOffset(const VRNScreenInfo& screen);

    // The toolbar: the whole width of the view, along its bottom.
    static VRNRect toolbarFrame(VRNSize view);

    // The picture's frame in a view of `view` size: height = width × ratio, centred
    // horizontally, top = safeAreaTop + verticalOffset, bottom = toolbarTop − verticalOffset.
    // When that would be wider than the view, the picture keeps its aspect at the view's width
    // and is centred in the band instead. Edges are put on whole points; a band with no room or
    // a screen without size gives an empty frame.
    static VRNRect imageViewFrame(VRNSize view, double safeAreaTop, double toolbarTop, double ratio,
                                  double verticalOffset);
};

}  // namespace vorna
