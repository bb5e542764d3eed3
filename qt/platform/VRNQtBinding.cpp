#include "qt/platform/VRNQtBinding.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <mutex>

#include "core/VRNUIPlatform.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "qt/flow/VRNQtFlowPlatform.h"
#include "qt/invocation/VRNMotionListener.h"
#include "qt/invocation/VRNQtInvocationPlatform.h"
#include "qt/invocation/VRNScreenshotFolderWatcher.h"
#include "qt/platform/VRNQtDeviceProvider.h"
#include "qt/platform/VRNQtLifecycle.h"
#include "qt/platform/VRNQtRunLoop.h"
#include "qt/platform/VRNQtUIPlatform.h"
#include "qt/platform/VRNWindowStack.h"

#if VORNA_QT_HAS_SENSORS
#include "qt/invocation/VRNAccelerometerShake.h"
#endif

namespace vorna {
namespace {

// A screenshot file counts as this application's when the application was in front at most
// this long before it appeared: desktop screenshot tools often take the focus while they work.
constexpr double kScreenshotActivityWindow = 30.0;
// A file appearing this soon after the Print key reached the application is the picture that
// key took, already reported.
constexpr qint64 kPrintKeyEchoMs = 3000;

struct Installed {
    std::mutex mutex;
    std::shared_ptr<VRNQtRunLoop> runLoop;
    std::shared_ptr<VRNQtInvocationPlatform> platform;
    QPointer<VRNMotionListener> motionListener;
    QPointer<VRNQtLifecycle> lifecycle;
    QPointer<VRNScreenshotFolderWatcher> folderWatcher;
    QElapsedTimer sinceActive;
};

Installed& installed() {
    // Never destroyed: other threads may still ask for the run loop while the process exits.
    static auto* state = new Installed();
    return *state;
}

void uninstall() {
    std::shared_ptr<VRNQtRunLoop> loop;
    {
        std::lock_guard lock(installed().mutex);
        loop = std::move(installed().runLoop);
        installed().platform.reset();
    }
    VRNUIPlatform::uninstall();
    if (loop) {
        loop->detach();
    }
}

}  // namespace

void VRNQtBinding::install() {
    QCoreApplication* app = QCoreApplication::instance();
    if (!app) {
        return;
    }
    VRNQtUIPlatform::Parts parts;
    parts.runLoop = std::make_shared<VRNQtRunLoop>();
    {
        std::lock_guard lock(installed().mutex);
        installed().runLoop = parts.runLoop;
        installed().sinceActive.invalidate();
    }
    // Post routines run while the application object is being destroyed, before its children
    // go: from then on the kit's work no longer reaches the GUI thread.
    qAddPostRoutine(uninstall);
    const auto installParts = [&parts] {
        VRNUIPlatform::install(std::make_shared<VRNQtUIPlatform>(std::move(parts)));
    };

    auto* gui = qobject_cast<QGuiApplication*>(app);
    if (!gui) {
        installParts();
        return;
    }
    parts.deviceProvider = std::make_shared<VRNQtDeviceProvider>();
    auto* lifecycle = new VRNQtLifecycle(VRNNotificationCenter::defaultCenter(), app);
    QObject::connect(gui, &QGuiApplication::applicationStateChanged, app,
                     [](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive) {
                             std::lock_guard lock(installed().mutex);
                             installed().sinceActive.start();
                         }
                     });

    if (!qobject_cast<QApplication*>(app)) {
        {
            std::lock_guard lock(installed().mutex);
            installed().lifecycle = lifecycle;
        }
        installParts();
        return;
    }
    new VRNWindowStack(app);
    auto* listener = new VRNMotionListener(app);
    auto* watcher = new VRNScreenshotFolderWatcher(
        VRNScreenshotFolderWatcher::defaultPicturesFolders(),
        [listener] {
            const qint64 sincePrint = listener->msecsSincePrintKey();
            return !(sincePrint >= 0 && sincePrint < kPrintKeyEchoMs) &&
                   wasActiveWithin(kScreenshotActivityWindow);
        },
        app);
    auto platform = std::make_shared<VRNQtInvocationPlatform>();
    {
        std::lock_guard lock(installed().mutex);
        installed().platform = platform;
        installed().motionListener = listener;
        installed().lifecycle = lifecycle;
        installed().folderWatcher = watcher;
    }
    parts.invocationPlatform = platform;
    parts.flowPlatform = std::make_shared<VRNQtFlowPlatform>();
    parts.widgets = true;
    installParts();

#if VORNA_QT_HAS_SENSORS
    // Looking for sensors loads plugins and may ask system services: done once the event loop
    // runs, not while the host is still constructing its application.
    auto* accelerometer = new VRNAccelerometerShake(app);
    QTimer::singleShot(0, accelerometer, [accelerometer] {
        if (!accelerometer->start()) {
            accelerometer->deleteLater();
        }
    });
#endif
}

std::shared_ptr<VRNQtRunLoop> VRNQtBinding::runLoop() {
    std::lock_guard lock(installed().mutex);
    return installed().runLoop;
}

std::shared_ptr<VRNQtInvocationPlatform> VRNQtBinding::invocationPlatform() {
    std::lock_guard lock(installed().mutex);
    return installed().platform;
}

VRNMotionListener* VRNQtBinding::motionListener() {
    std::lock_guard lock(installed().mutex);
    return installed().motionListener;
}

VRNQtLifecycle* VRNQtBinding::lifecycle() {
    std::lock_guard lock(installed().mutex);
    return installed().lifecycle;
}

VRNScreenshotFolderWatcher* VRNQtBinding::screenshotFolderWatcher() {
    std::lock_guard lock(installed().mutex);
    return installed().folderWatcher;
}

bool VRNQtBinding::wasActiveWithin(double seconds) {
    if (QGuiApplication::applicationState() == Qt::ApplicationActive) {
        return true;
    }
    std::lock_guard lock(installed().mutex);
    return installed().sinceActive.isValid() &&
           static_cast<double>(installed().sinceActive.elapsed()) < seconds * 1000.0;
}

}  // namespace vorna

// The binding's object file is kept in the host by the linker option that vorna_qt gives
// its users (--undefined of this symbol): a static library's member that nothing refers to
// would otherwise be left out, and with it the start-up function below.
extern "C" void vorna_qt_binding_anchor() {}

static void vornaQtInstall() {
    // The kit's resources (images, fonts) live in this static library; registering them by
    // name keeps their object file in the host.
    Q_INIT_RESOURCE(vorna_qt);
    vorna::VRNQtBinding::install();
}
Q_COREAPP_STARTUP_FUNCTION(vornaQtInstall)
