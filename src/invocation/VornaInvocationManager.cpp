#include "invocation/VornaInvocationManager.h"

#include <cmath>

#include "state/VRNConstants.h"

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

VornaInvocationManager::~VornaInvocationManager() {
    for (auto token : observers_) {
        center_.removeObserver(token);
    }
}

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
    const auto platformNow = platform();
    if (containsVornaInvocationEvent(VornaInvocationEventFloatingButton) && platformNow) {
        std::weak_ptr<VornaInvocationManager> weak = weak_from_this();
        platformNow->setupFloatingButtonWindow([weak] {
            if (auto manager = weak.lock()) {
                manager->invokeVorna();
            }
        });
    }
    if (containsVornaInvocationEvent(VornaInvocationEventScreenshot)) {
        std::weak_ptr<VornaInvocationManager> weak = weak_from_this();
        observers_.push_back(center_.addObserver(VRNApplicationUserDidTakeScreenshotNotification,
                                                 [weak](const VRNNotification&) {
                                                     if (auto manager = weak.lock()) {
                                                         manager->screenshot();
                                                     }
                                                 }));
    }
    if (containsVornaInvocationEvent(VornaInvocationEventRightEdgePan) && platformNow) {
        platformNow->setupRightEdgePan(edgeSwipeHandler_);
    }
    // VornaInvocationEventReserved is accepted and sets up nothing.
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
    std::lock_guard lock(platformMutex());
    platformInstance() = std::move(p);
}

std::shared_ptr<VRNInvocationPlatform> VornaInvocationManager::platform() {
    std::lock_guard lock(platformMutex());
    return platformInstance();
}

}  // namespace vorna
