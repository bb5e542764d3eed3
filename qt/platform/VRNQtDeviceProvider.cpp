#include "qt/platform/VRNQtDeviceProvider.h"

#include <QApplication>
#include <QScreen>
#include <QWidget>

#include <cmath>

#include "qt/platform/VRNWindowStack.h"

namespace vorna {
namespace {

// The screen on top, as a phone would name it: the modal dialog in front if there is one,
// else the key window. The floating button's window never takes the keyboard and so is never
// the one named.
std::optional<std::string> topWindowClassName() {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
        return std::nullopt;
    }
    QWidget* top = QApplication::activeModalWidget();
    if (!top) {
        top = VRNWindowStack::keyWindow();
    }
    if (!top) {
        return std::nullopt;
    }
    return std::string(top->metaObject()->className());
}

}  // namespace

VRNQtDeviceProvider::VRNQtDeviceProvider() : guiThread_(std::this_thread::get_id()) {
    (void)snapshot();
}

VRNInterfaceOrientation VRNQtDeviceProvider::interfaceOrientationFor(
    Qt::ScreenOrientation orientation) {
    switch (orientation) {
        case Qt::PortraitOrientation:
            return VRNInterfaceOrientation::Portrait;
        case Qt::InvertedPortraitOrientation:
            return VRNInterfaceOrientation::PortraitUpsideDown;
        case Qt::LandscapeOrientation:
            return VRNInterfaceOrientation::LandscapeLeft;
        case Qt::InvertedLandscapeOrientation:
            return VRNInterfaceOrientation::LandscapeRight;
        case Qt::PrimaryOrientation:
            break;
    }
    return VRNInterfaceOrientation::Unknown;
}

VRNQtDeviceProvider::Snapshot VRNQtDeviceProvider::snapshot() const {
    if (std::this_thread::get_id() != guiThread_ || !QCoreApplication::instance()) {
        std::lock_guard lock(mutex_);
        return last_;
    }
    Snapshot now;
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QSize points = screen->geometry().size();
        const double scale = screen->devicePixelRatio();
        now.screen.width = points.width();
        now.screen.height = points.height();
        now.screen.scale = scale;
        now.screen.nativeWidth = std::round(points.width() * scale);
        now.screen.nativeHeight = std::round(points.height() * scale);
        now.orientation = interfaceOrientationFor(screen->orientation());
    }
    now.topViewController = topWindowClassName();
    std::lock_guard lock(mutex_);
    last_ = now;
    return now;
}

VRNScreenInfo VRNQtDeviceProvider::mainScreen() const {
    return snapshot().screen;
}

VRNInterfaceOrientation VRNQtDeviceProvider::interfaceOrientation() const {
    return snapshot().orientation;
}

int VRNQtDeviceProvider::deviceOrientation() const {
    // A desktop has no motion sensor for its posture; the screen's orientation is the device's,
    // with the raw values the two share (portrait 1, upside down 2, landscape 3 and 4).
    return static_cast<int>(snapshot().orientation);
}

std::optional<std::string> VRNQtDeviceProvider::topViewControllerName() const {
    return snapshot().topViewController;
}

}  // namespace vorna
