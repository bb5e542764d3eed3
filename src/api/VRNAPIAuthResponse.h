#pragma once

#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

// The answer to a token request.
class VRNAPIAuthResponse {
public:
    // Only an answer that carries both "access_token" and "expires_in" makes a response; any
    // other answer (not JSON, not an object, a key missing) makes none, which the caller takes
    // for a failed authorization.
    static std::shared_ptr<VRNAPIAuthResponse> initWithData(const VRNData& data);

    explicit VRNAPIAuthResponse(std::string accessToken) : accessToken_(std::move(accessToken)) {}

    const std::string& accessToken() const { return accessToken_; }
    // Always empty: "expires_in" must be in the answer, but the kit never refreshes a token by
    // time (it authorizes again at start and on return to the foreground), so it keeps no
    // expiry that nothing would read.
    const std::optional<nlohmann::json>& expiresIn() const { return expiresIn_; }

private:
    std::string accessToken_;
    std::optional<nlohmann::json> expiresIn_;
};

}  // namespace vorna
