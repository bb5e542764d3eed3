#pragma once

#include <memory>
#include <optional>

#include "platform/VRNImage.h"

class QWidget;

namespace vorna {

// The picture of the application every report carries: all of its shown windows, back to
// front, each drawn at the top-left corner of a bitmap as large as the screen, at the screen's
// scale. The floating button's window (and any subclass of it) is never in the picture. Runs
// on the GUI thread.
class VRNScreenshotService {
public:
    static std::shared_ptr<VRNScreenshotService> sharedInstance();

    // An empty image when there is no screen.
    VRNImage takeScreenshot() const;
    // The JPEG encoding at quality 0.7; nothing for an empty image.
    std::optional<VRNData> getImageData(const VRNImage& image) const;

    // Whether a window is left out of the picture.
    static bool isExcluded(const QWidget* window);
};

}  // namespace vorna
