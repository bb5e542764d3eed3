#pragma once

#include <QPointer>

#include <memory>

namespace vorna {

class VRNMotionListener;
class VRNQtInvocationPlatform;
class VRNQtLifecycle;
class VRNQtRunLoop;
class VRNScreenshotFolderWatcher;
class VRNWindowStack;

// Binds the kit to the Qt application of the process. It installs itself when the application
// object is constructed (a start-up function of QCoreApplication), so a host only creates its
// QApplication before starting the kit:
//
// - every application: the kit's main run loop on the GUI thread;
// - a QGuiApplication: the device provider (screen, orientation, the window on top) and the
//   life-cycle notifications;
// - a QApplication: the window stack, the motion listener (shake, key chord, Print key), the
//   screenshots-folder watcher, the accelerometer where there is one, the floating button and
//   right-edge pan, the report flow's windows and screens, the screenshot capture of reports
//   made from code, and the kit's fonts (registered when the facade is made).
// All of it reaches the core as one VRNUIPlatform, installed in one call and taken away in one
// when the application goes.
class VRNQtBinding {
public:
    static void install();
    // The parts installed for the running application; empty before install or after the
    // application is gone.
    static std::shared_ptr<VRNQtRunLoop> runLoop();
    static std::shared_ptr<VRNQtInvocationPlatform> invocationPlatform();
    static VRNMotionListener* motionListener();
    static VRNQtLifecycle* lifecycle();
    static VRNScreenshotFolderWatcher* screenshotFolderWatcher();

    // Whether the application was in front within the last `seconds` (or is now).
    static bool wasActiveWithin(double seconds);
};

}  // namespace vorna
