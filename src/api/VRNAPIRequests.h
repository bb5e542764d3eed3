#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "api/VRNURLRequest.h"

namespace vorna {

class VRNAPIReportFileProtocol;

// The requests of the backend API as plain values, built from the base URL and the token held
// when the request is made. Nothing here touches the network.
//
// Paths are appended to the base URL directly (it ends with a slash). With no base URL every
// request has no URL and fails when sent. "Authorization: Bearer <token>" is added only while a
// token is held. A missing text that goes into a composed string (credentials, the bundle
// identifier of the report address, a file name) is written "(null)", the form the backend has
// always received for it, so that it stays distinct from an empty text.
struct VRNAPIRequests {
    std::optional<std::string> baseUrl;
    std::optional<std::string> accessToken;

    VRNURLRequest token(const std::optional<std::string>& clientId,
                        const std::optional<std::string>& secret) const;
    VRNURLRequest applicationEnabled(const std::optional<std::string>& bundleId,
                                     const std::string& operatingSystem,
                                     const std::string& platform) const;
    VRNURLRequest registerApplication(const std::optional<std::string>& bundleId,
                                      const std::string& operatingSystem,
                                      const std::string& platform) const;
    VRNURLRequest branding() const;
    // A missing file uploads as a file with no name and no bytes.
    VRNURLRequest uploadFile(const VRNAPIReportFileProtocol* file,
                             const std::string& boundary) const;
    VRNURLRequest report(const std::optional<std::string>& bundleId, VRNData body) const;

    // Pretty-printed JSON in UTF-8, with "/" never escaped (addresses in the body stay
    // readable). Empty when the value cannot be written.
    static VRNData jsonBody(const nlohmann::json& dictionary);
    static std::string describe(const std::optional<std::string>& text);

private:
    std::optional<std::string> url(const std::string& path) const;
    void addAuthorization(VRNURLRequest& request) const;
};

}  // namespace vorna
