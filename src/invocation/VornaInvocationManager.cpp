#include "invocation/VornaInvocationManager.h"

#include <cmath>

#include "platform/loop/VRNRunLoop.h"
#include "state/VRNConstants.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

std::mutex& platformMutex() {
    static std::mutex m;
    return m;
}

std::shared_ptr<VRNInvocationPlatform>& platformInstance() {
    static std::shared_ptr<VRNInvocationPlatform> p;
    return p;
}

// Managers started before any toolkit was installed, whose windows wait for one.
std::vector<std::weak_ptr<VornaInvocationManager>>& waitingForPlatform() {
    static std::vector<std::weak_ptr<VornaInvocationManager>> waiting;
    return waiting;
}

}  // namespace

void VRNEdgeSwipeHandler::swiped(GestureState state, double translationX,
                                 const std::function<void()>& cancelGesture) {
    if (state != GestureState::Changed) {
        return;
    }
    handleEdgeSwipeChange(translationX, cancelGesture);
}

void VRNEdgeSwipeHandler::handleEdgeSwipeChange(double translationX,
                                                const std::function<void()>& cancelGesture) {
    if (std::fabs(translationX) > HoriziontalSwipeTranslation) {
        if (cancelGesture) {
            cancelGesture();
        }
        if (auto delegate = delegate_.lock()) {
            delegate->edgeSwipHandlerShouldInvokeStart();
        }
    }
}

VornaInvocationManager::VornaInvocationManager(VRNNotificationCenter& center)
    : center_(center), edgeSwipeHandler_(std::make_shared<VRNEdgeSwipeHandler>()) {}

std::shared_ptr<VornaInvocationManager> VornaInvocationManager::sharedInstance() {
    static const auto instance = std::make_shared<VornaInvocationManager>();
    return instance;
}

VornaInvocationEvent VornaInvocationManager::invocationEvent() const {
    std::lock_guard lock(mutex_);
    return invocationEvent_;
}

void VornaInvocationManager::setInvocationEvent(VornaInvocationEvent event) {
    std::lock_guard lock(mutex_);
    invocationEvent_ = event;
}

void VornaInvocationManager::setInvocationEvents(VornaInvocationEvent events) {
    setInvocationEvent(events);
}

bool VornaInvocationManager::containsVornaInvocationEvent(VornaInvocationEvent event) const {
    return (invocationEvent() & event) != 0;
}

void VornaInvocationManager::start() {
    // The handler's delegate is this manager; it is set here rather than in the constructor,
    // where no shared pointer to the manager exists yet.
    edgeSwipeHandler_->setDelegate(weak_from_this());
    setupInvocationEnvironment();
}

void VornaInvocationManager::setupInvocationEnvironment() {
    if (containsVornaInvocationEvent(VornaInvocationEventFloatingButton |
                                     VornaInvocationEventRightEdgePan)) {
        setupWindowedInvocations();
    }
    if (containsVornaInvocationEvent(VornaInvocationEventScreenshot)) {
        std::weak_ptr<VornaInvocationManager> weak = weak_from_this();
        observers_.push_back(center_.subscribe(VRNApplicationUserDidTakeScreenshotNotification,
                                               [weak](const VRNNotification&) {
                                                   if (auto manager = weak.lock()) {
                                                       manager->screenshot();
                                                   }
                                               }));
    }
    // VornaInvocationEventReserved is accepted and sets up nothing.
}

void VornaInvocationManager::setupWindowedInvocations() {
    std::shared_ptr<VRNInvocationPlatform> platformNow;
    {
        // Under the platform's lock, so that a toolkit installed at this moment either is seen
        // here or finds this manager waiting.
        std::lock_guard lock(platformMutex());
        platformNow = platformInstance();
        if (!platformNow) {
            waitingForPlatform().push_back(weak_from_this());
        }
    }
    if (!platformNow) {
        VRNLog("VornaInvocationManager - No window toolkit yet: the floating button and the "
               "edge swipe are set up once one is installed (a Qt host creates its QApplication "
               "before starting the kit)");
        return;
    }
    // Windows belong to the main thread; a start made before the toolkit's loop existed runs
    // on the kit's own.
    const auto loop = VRNRunLoop::main();
    if (!loop->isCurrent()) {
        loop->post([weak = weak_from_this()] {
            if (auto manager = weak.lock()) {
                manager->setupWindowedInvocations();
            }
        });
        return;
    }
    if (containsVornaInvocationEvent(VornaInvocationEventFloatingButton)) {
        std::weak_ptr<VornaInvocationManager> weak = weak_from_this();
        platformNow->setupFloatingButtonWindow([weak] {
            if (auto manager = weak.lock()) {
                manager->invokeVorna();
            }
        });
    }
    if (containsVornaInvocationEvent(VornaInvocationEventRightEdgePan)) {
        platformNow->setupRightEdgePan(edgeSwipeHandler_);
    }
}

void VornaInvocationManager::invokeVorna() {
    std::function<void()> handler;
    {
        std::lock_guard lock(mutex_);
        handler = invokeHandler_;
    }
    if (handler) {
        handler();
    }
}

void VornaInvocationManager::screenshot() {
    invokeVorna();
}

void VornaInvocationManager::edgeSwipHandlerShouldInvokeStart() {
    invokeVorna();
}

void VornaInvocationManager::motionBegan(int subtype) {
    constexpr int kMotionShake = 1;
    if (subtype == kMotionShake && containsVornaInvocationEvent(VornaInvocationEventMotion)) {
        invokeVorna();
    }
}

void VornaInvocationManager::setInvokeHandler(std::function<void()> handler) {
    std::lock_guard lock(mutex_);
    invokeHandler_ = std::move(handler);
}

void VornaInvocationManager::setPlatform(std::shared_ptr<VRNInvocationPlatform> p) {
    std::vector<std::weak_ptr<VornaInvocationManager>> waiting;
    {
        std::lock_guard lock(platformMutex());
        platformInstance() = p;
        if (p) {
            waiting.swap(waitingForPlatform());
        }
    }
    if (waiting.empty()) {
        return;
    }
    VRNLog("VornaInvocationManager - A window toolkit is installed: setting up the floating "
           "button and the edge swipe now");
    // Posted: the toolkit installs itself while the host is still making its application
    // object, before windows can be made.
    VRNRunLoop::main()->post([waiting = std::move(waiting)] {
        for (const auto& weak : waiting) {
            if (auto manager = weak.lock()) {
                manager->setupWindowedInvocations();
            }
        }
    });
}

std::shared_ptr<VRNInvocationPlatform> VornaInvocationManager::platform() {
    std::lock_guard lock(platformMutex());
    return platformInstance();
}

}  // namespace vorna
