#include "theme/VRNBrandingService.h"

namespace vorna {

void VRNBrandingService::start() {
    auto fresh = std::make_shared<VRNBranding>();
    std::lock_guard lock(mutex_);
    branding_ = std::move(fresh);
}

std::shared_ptr<VRNBranding> VRNBrandingService::branding() const {
    std::lock_guard lock(mutex_);
    return branding_;
}

}  // namespace vorna
