#include "core/VRNUIPlatform.h"

#include <mutex>

#include "invocation/VornaInvocationManager.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/VRNLocalizedString.h"
#include "platform/loop/VRNRunLoop.h"

namespace vorna {
namespace {

struct Installed {
    std::mutex mutex;
    std::shared_ptr<VRNUIPlatform> platform = std::make_shared<VRNUIPlatform>();
    bool resourcesWanted = false;
};

Installed& installed() {
    // Never destroyed: the kit's threads may ask for it while the process exits.
    static auto* state = new Installed();
    return *state;
}

}  // namespace

std::shared_ptr<VRNCoordinatorProtocol> VRNUIPlatform::makeCoordinator(
    VRNCoordinatorContext context) {
    auto flow = flowPlatform();
    if (!flow) {
        return nullptr;
    }
    return std::make_shared<VRNCoordinator>(std::move(context), std::move(flow));
}

void VRNUIPlatform::install(std::shared_ptr<VRNUIPlatform> platform) {
    if (!platform) {
        platform = std::make_shared<VRNUIPlatform>();
    }
    if (auto loop = platform->mainRunLoop()) {
        VRNRunLoop::setMain(std::move(loop));
    }
    VRNDeviceProvider::setCurrent(platform->deviceProvider());
    VornaInvocationManager::setPlatform(platform->invocationPlatform());
    const std::weak_ptr<VRNUIPlatform> weak = platform;
    VRNSetLocalizer([weak](const std::string& key) {
        auto alive = weak.lock();
        return alive ? alive->localizedString(key) : key;
    });
    bool resourcesWanted = false;
    {
        std::lock_guard lock(installed().mutex);
        installed().platform = platform;
        resourcesWanted = installed().resourcesWanted;
    }
    if (resourcesWanted) {
        // Posted: a toolkit installs itself while the host is still making its application
        // object, before the toolkit can take fonts.
        VRNRunLoop::main()->post([weak = std::weak_ptr<VRNUIPlatform>(platform)] {
            if (auto alive = weak.lock()) {
                alive->registerFonts();
            }
        });
    }
}

void VRNUIPlatform::registerKitResources() {
    std::shared_ptr<VRNUIPlatform> platform;
    {
        std::lock_guard lock(installed().mutex);
        installed().resourcesWanted = true;
        platform = installed().platform;
    }
    platform->registerFonts();
}

void VRNUIPlatform::uninstall() {
    VornaInvocationManager::setPlatform(nullptr);
    VRNDeviceProvider::setCurrent(nullptr);
    VRNSetLocalizer(nullptr);
    std::shared_ptr<VRNUIPlatform> previous;
    {
        std::lock_guard lock(installed().mutex);
        previous = std::move(installed().platform);
        installed().platform = std::make_shared<VRNUIPlatform>();
    }
    // `previous` goes outside the lock: its parts may take locks of their own as they go.
}

std::shared_ptr<VRNUIPlatform> VRNUIPlatform::current() {
    std::lock_guard lock(installed().mutex);
    return installed().platform;
}

}  // namespace vorna
