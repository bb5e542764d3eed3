#pragma once

#include <memory>
#include <optional>

#include "platform/VRNImage.h"

class QWidget;

namespace vorna {

// The picture of the application every report carries: what the tester sees of it. Its shown
// windows are drawn back to front, each at its place on the desktop, onto a bitmap that covers
// just the area the windows take (its origin is their union's top-left corner), at the screen's
// scale. The kit's own windows (the floating button, the flow, the banner) and minimised
// windows are never in the picture. Runs on the GUI thread.
class VRNScreenshotService {
public:
    static std::shared_ptr<VRNScreenshotService> sharedInstance();

    // An empty image, with a log line, when there is no screen or no window to draw.
    VRNImage takeScreenshot() const;
    // The JPEG encoding at quality 0.7; nothing for an empty image.
    std::optional<VRNData> getImageData(const VRNImage& image) const;

    // Whether a shown window is left out of the picture.
    static bool isExcluded(const QWidget* window);
};

}  // namespace vorna
