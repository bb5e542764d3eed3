#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "flow/VRNGeometry.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "vorna/VornaInvocationEvent.h"

namespace vorna {

class VRNEdgeSwipeHandlerDelegate {
public:
    virtual ~VRNEdgeSwipeHandlerDelegate() = default;
    virtual void edgeSwipHandlerShouldInvokeStart() = 0;
};

// Decides when a pan from the right edge has gone far enough to open a report. The toolkit's
// recognizer calls swiped() with its state and horizontal translation; cancelGesture lets the
// handler end the pan in progress so that one swipe opens at most one report.
class VRNEdgeSwipeHandler {
public:
    using GestureState = VRNPanState;

    void setDelegate(std::weak_ptr<VRNEdgeSwipeHandlerDelegate> delegate) {
        delegate_ = std::move(delegate);
    }
    void swiped(GestureState state, double translationX,
                const std::function<void()>& cancelGesture);
    void handleEdgeSwipeChange(double translationX, const std::function<void()>& cancelGesture);

private:
    std::weak_ptr<VRNEdgeSwipeHandlerDelegate> delegate_;
};

// What a UI toolkit provides for the invocations that need windows. The Qt layer installs one;
// a headless host has none, and those invocations then set up nothing.
class VRNInvocationPlatform {
public:
    virtual ~VRNInvocationPlatform() = default;
    // Shows the floating button window above the host's windows; a tap calls `invoke`.
    virtual void setupFloatingButtonWindow(std::function<void()> invoke) = 0;
    // Attaches a right-edge pan recognizer to the key window's root view, as it stands now.
    virtual void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) = 0;
};

// Holds the selected invocation events and turns every invocation into one call: invokeVorna.
class VornaInvocationManager : public VRNEdgeSwipeHandlerDelegate,
                               public std::enable_shared_from_this<VornaInvocationManager> {
public:
    explicit VornaInvocationManager(
        VRNNotificationCenter& center = VRNNotificationCenter::defaultCenter());

    static std::shared_ptr<VornaInvocationManager> sharedInstance();

    VornaInvocationEvent invocationEvent() const;
    void setInvocationEvent(VornaInvocationEvent event);
    void setInvocationEvents(VornaInvocationEvent events);
    bool containsVornaInvocationEvent(VornaInvocationEvent event) const;

    void start();
    void setupInvocationEnvironment();
    // The floating button and the edge pan, on the main loop, once a toolkit is installed.
    void setupWindowedInvocations();
    void invokeVorna();
    void screenshot();
    void edgeSwipHandlerShouldInvokeStart() override;
    // A motion event reached one of the application's windows; subtype 1 is the shake.
    void motionBegan(int subtype);

    const std::shared_ptr<VRNEdgeSwipeHandler>& edgeSwipeHandler() const {
        return edgeSwipeHandler_;
    }

    // The facade installs what an invocation does (open the report flow).
    void setInvokeHandler(std::function<void()> handler);
    // Managers started before a platform was installed set up their windows when it is.
    static void setPlatform(std::shared_ptr<VRNInvocationPlatform> platform);
    static std::shared_ptr<VRNInvocationPlatform> platform();

private:
    VRNNotificationCenter& center_;
    mutable std::mutex mutex_;
    VornaInvocationEvent invocationEvent_ = VornaInvocationEventMotion;
    std::shared_ptr<VRNEdgeSwipeHandler> edgeSwipeHandler_;
    std::function<void()> invokeHandler_;
    std::vector<VRNNotificationCenter::Subscription> observers_;
};

}  // namespace vorna
