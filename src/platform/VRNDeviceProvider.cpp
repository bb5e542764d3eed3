#include "platform/VRNDeviceProvider.h"

#include <mutex>

namespace vorna {
namespace {

std::mutex& providerMutex() {
    static std::mutex m;
    return m;
}

std::shared_ptr<VRNDeviceProvider>& provider() {
    static std::shared_ptr<VRNDeviceProvider> p = std::make_shared<VRNDeviceProvider>();
    return p;
}

}  // namespace

std::shared_ptr<VRNDeviceProvider> VRNDeviceProvider::current() {
    std::lock_guard lock(providerMutex());
    return provider();
}

void VRNDeviceProvider::setCurrent(std::shared_ptr<VRNDeviceProvider> p) {
    std::lock_guard lock(providerMutex());
    provider() = p ? std::move(p) : std::make_shared<VRNDeviceProvider>();
}

}  // namespace vorna
