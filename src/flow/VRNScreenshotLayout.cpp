#include "flow/VRNScreenshotLayout.h"

#include <cmath>

#include "platform/VRNDeviceProvider.h"
#include "platform/VRNImage.h"

namespace vorna {

double VRNScreenshotLayout::ratio(const VRNScreenInfo& screen) {
    return screen.width > 0 && screen.height > 0 ? screen.height / screen.width : 0.0;
}

double VRNScreenshotLayout::ratio(const VRNImage& picture, const VRNScreenInfo& screen) {
    if (picture.isEmpty()) {
        return ratio(screen);
    }
    return static_cast<double>(picture.height()) / static_cast<double>(picture.width());
}

double VRNScreenshotLayout::verticalOffset(const VRNScreenInfo& screen) {
    return screen.height / 20.0;
}

VRNRect VRNScreenshotLayout::toolbarFrame(VRNSize view) {
    return VRNRect{0, view.height - kToolbarHeight, view.width, kToolbarHeight};
}

VRNRect VRNScreenshotLayout::imageViewFrame(VRNSize view, double safeAreaTop, double toolbarTop,
                                            double ratio, double verticalOffset) {
    const double top = safeAreaTop + verticalOffset;
    const double bottom = toolbarTop - verticalOffset;
    if (!(ratio > 0) || !std::isfinite(ratio) || bottom <= top || view.width <= 0) {
        return VRNRect{};
    }
    double height = bottom - top;
    double width = height / ratio;
    double y = top;
    if (width > view.width) {
        width = view.width;
        height = width * ratio;
        y = top + (bottom - top - height) / 2;
    }
    const double x = (view.width - width) / 2;
    // Widgets sit on whole points: each edge goes to the nearest one.
    const double left = std::round(x);
    const double right = std::round(x + width);
    const double upper = std::round(y);
    const double lower = std::round(y + height);
    return VRNRect{left, upper, right - left, lower - upper};
}

}  // namespace vorna
