#pragma once

#include <memory>
#include <mutex>

#include "theme/VRNBranding.h"

namespace vorna {

// Owns the branding record the screens of a report are drawn with. Each start (each opening of
// the report flow) puts a fresh built-in record in place; screens that hold the previous one
// keep it until they are rebuilt. Nothing of it is persisted.
class VRNBrandingService {
public:
    void start();
    // Empty until the first start.
    std::shared_ptr<VRNBranding> branding() const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<VRNBranding> branding_;
};

}  // namespace vorna
