#include "api/VRNAPIAuthResponse.h"

namespace vorna {

std::shared_ptr<VRNAPIAuthResponse> VRNAPIAuthResponse::initWithData(const VRNData& data) {
    nlohmann::json json;
    try {
        json = nlohmann::json::parse(data.begin(), data.end());
    } catch (const nlohmann::json::exception&) {
        return nullptr;
    }
    if (!json.is_object()) {
        return nullptr;
    }
    const auto token = json.find("access_token");
    const auto expiresIn = json.find("expires_in");
    if (token == json.end() || token->is_null() || expiresIn == json.end() ||
        expiresIn->is_null()) {
        return nullptr;
    }
    // A token is text; a backend that sends a number gets its digits back in the header.
    if (token->is_string()) {
        return std::make_shared<VRNAPIAuthResponse>(token->get<std::string>());
    }
    if (token->is_number()) {
        return std::make_shared<VRNAPIAuthResponse>(token->dump());
    }
    return nullptr;
}

}  // namespace vorna
