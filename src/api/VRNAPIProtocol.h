#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/VRNError.h"

namespace vorna {

class VRNAPIAuthResponse;
class VRNAPIBrandingResponse;
class VRNAPIReport;
class VRNAPIReportFileProtocol;

// The backend client as the rest of the kit sees it, so that another implementation (a test's
// fake, a host's own transport) can stand in. Every request starts at once; results arrive in
// completions, never as exceptions. Unless said otherwise, completions run on the client's own
// completion thread, not on the main run loop.
class VRNAPIProtocol {
public:
    using AuthCompletion =
        std::function<void(std::shared_ptr<VRNAPIAuthResponse> response, VRNErrorPtr error)>;
    // Holds true or false, or nothing when the request failed. Runs on the main run loop.
    using EnabledCompletion = std::function<void(std::optional<bool> enabled)>;
    using BrandingCompletion =
        std::function<void(std::shared_ptr<VRNAPIBrandingResponse> response, VRNErrorPtr error)>;
    using UploadCompletion = std::function<void(std::optional<std::string> url, VRNErrorPtr error)>;
    using ReportCompletion = std::function<void(VRNErrorPtr error)>;

    virtual ~VRNAPIProtocol() = default;

    virtual void authenticateWith(const std::optional<std::string>& clientId,
                                  const std::optional<std::string>& secret,
                                  AuthCompletion onCompletion) = 0;
    virtual void getApplicationEnabled(const std::optional<std::string>& bundleId,
                                       const std::string& operatingSystem,
                                       const std::string& platform,
                                       EnabledCompletion completion) = 0;
    virtual void registerApplication(const std::optional<std::string>& bundleId,
                                     const std::string& operatingSystem,
                                     const std::string& platform) = 0;
    virtual void getBrandingOnCompletion(BrandingCompletion onCompletion) = 0;
    virtual void uploadFile(std::shared_ptr<VRNAPIReportFileProtocol> file,
                            UploadCompletion onCompletion) = 0;
    // Blocks the calling thread until every upload of the report has answered; never call it on
    // the main run loop.
    virtual void sendReport(std::shared_ptr<VRNAPIReport> report,
                            ReportCompletion onCompletion) = 0;
};

}  // namespace vorna
