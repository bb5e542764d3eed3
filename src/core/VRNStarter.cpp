#include "core/VRNStarter.h"

#include "api/VRNAPIProtocol.h"
#include "state/VRNInfoPlist.h"
#include "vorna/VRNLog.h"

namespace vorna {

VRNStarter::VRNStarter(std::shared_ptr<VRNAPIProtocol> api) : api_(std::move(api)) {}

void VRNStarter::start(std::function<void(bool authorized)> completion) {
    const VRNInfoPlist infoPlist;
    const auto clientId = infoPlist.apiClientID();
    const auto secret = infoPlist.apiClientSecret();
    // Written as they stand: testers read them off the log to check the configuration.
    VRNLog("API Client Key: %s", clientId ? clientId->c_str() : "(null)");
    VRNLog("API Secret Key: %s", secret ? secret->c_str() : "(null)");
    if (!api_) {
        VRNLog("Authentication failed: %s", "(null)");
        if (completion) {
            completion(false);
        }
        return;
    }
    api_->authenticateWith(clientId, secret,
                           [completion = std::move(completion)](
                               std::shared_ptr<VRNAPIAuthResponse> response, VRNErrorPtr error) {
                               const bool authorized = response != nullptr;
                               if (authorized) {
                                   VRNLog("Authentication succeeded");
                               } else {
                                   VRNLog("Authentication failed: %s",
                                          error ? error->localizedDescription.c_str() : "(null)");
                               }
                               if (completion) {
                                   completion(authorized);
                               }
                           });
}

}  // namespace vorna
