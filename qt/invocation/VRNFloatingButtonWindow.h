#pragma once

#include <QPointer>
#include <QWidget>

#include <cstdint>
#include <vector>

#include "platform/loop/VRNNotificationCenter.h"
#include "qt/platform/VRNKitWindow.h"
#include "qt/platform/VRNPointerPassThrough.h"

class QWindow;

namespace vorna {

class VRNFloatingButtonVC;

// The floating button's own top-level window, one level above the host's windows and as large
// as the screen, clear everywhere but on the button. On a desktop the button belongs to the
// host, not to the screen: it is kept above the host's windows (a tool window of the host's
// window group, raised again whenever a host window is shown or activated), never above other
// applications' windows, and it is hidden while the host is in the background (every host
// window minimised or hidden) and back when the host returns. It takes the pointer only where
// its root view says so (on the button):
// - where the window system can shape windows (X11, Wayland), the window's shape is the
//   button's circle, so everything else reaches the windows beneath by the system's own means;
// - where it cannot (offscreen, some embedded platforms), a press outside the button that still
//   reaches this window is handed, with the moves and the release that follow it, to the
//   front-most window of the application beneath the pointer.
// The window never takes the keyboard focus from the host.
class VRNFloatingButtonWindow : public VRNKitWindow {
    Q_OBJECT

public:
    VRNFloatingButtonWindow();

    void setRootViewController(VRNFloatingButtonVC* controller);
    VRNFloatingButtonVC* rootViewController() const;

    // Asks the root view the same question; without one the window takes nothing.
    bool pointInside(const QPointF& point) const;

    // Puts the button back above the host's windows, after one of them was shown or activated.
    void stayAbove();
    // Whether the button was taken off the screen because the host went to the background.
    bool isAwayWithHost() const { return awayWithHost_; }

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateShape();
    bool forward(QEvent* event);
    void hostWentAway();
    void hostCameBack();

    QPointer<VRNFloatingButtonVC> rootViewController_;
    VRNPointerPassThrough passThrough_{this};
    bool pressOnButton_ = false;  // the press under way began on the button
    bool awayWithHost_ = false;
    // Last: they go before the members above, and before the window itself.
    std::vector<VRNNotificationCenter::Subscription> observers_;
};

}  // namespace vorna
