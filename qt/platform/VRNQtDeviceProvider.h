#pragma once

#include <QtCore/qnamespace.h>

#include <mutex>
#include <thread>

#include "platform/VRNDeviceProvider.h"

namespace vorna {

// The device as a Qt application sees it: the primary screen (bounds in points, native bounds
// in pixels, its scale and orientation) and the window on top of the application. Qt's screens
// and windows belong to the GUI thread: asked there, the provider answers afresh and remembers
// the answer; asked from another thread, it gives the last answer it remembered.
class VRNQtDeviceProvider : public VRNDeviceProvider {
public:
    VRNQtDeviceProvider();

    VRNScreenInfo mainScreen() const override;
    VRNInterfaceOrientation interfaceOrientation() const override;
    int deviceOrientation() const override;
    std::optional<std::string> topViewControllerName() const override;

    // The orientation values for one of Qt's screen orientations.
    static VRNInterfaceOrientation interfaceOrientationFor(Qt::ScreenOrientation orientation);

private:
    struct Snapshot {
        VRNScreenInfo screen;
        VRNInterfaceOrientation orientation = VRNInterfaceOrientation::Unknown;
        std::optional<std::string> topViewController;
    };
    Snapshot snapshot() const;

    const std::thread::id guiThread_;
    mutable std::mutex mutex_;
    mutable Snapshot last_;
};

}  // namespace vorna
