#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <httplib.h>

#include "HttpServer.h"
#include "Options.h"
#include "RequestGate.h"
#include "Store.h"
#include "TokenEndpoint.h"

namespace vorna::backend {

// The client behind a request of the kit: its access token and what the store knows of it.
struct Caller {
    std::string token;
    Store::Token info;
};

// The API the kit calls for access tokens, its application, the branding and its reports.
// The token request is TokenEndpoint's; the upload of attachments, which streams its body, is
// UploadReceiver's.
class KitApi {
public:
    static constexpr std::int64_t kTokenLifetimeSeconds = TokenEndpoint::kTokenLifetimeSeconds;

    KitApi(std::vector<ClientCredentials> clients, bool expireTokens, Store& store,
           RequestGate& gate);

    void install(HttpServer& server);
    // host:port for the addresses this backend hands out when a request carries no Host header.
    void setFallbackHost(std::string hostAndPort) { fallbackHost_ = std::move(hostAndPort); }

    // The caller whose bearer token the request carries; nothing, with a 401 answer set, when
    // the token is missing, unknown or expired.
    std::optional<Caller> authorize(const httplib::Request& req, httplib::Response& res);
    // "http://host:port", as the client reached this backend.
    std::string publicBase(const httplib::Request& req) const;

    // An application belongs to the client that registered it first; one registered by nobody
    // yet (made by the admin when it archived it) is claimed by the first client that
    // registers it or reports into it.
    static bool belongsToAnother(const Store::Application& app, const Caller& caller);
    // The 403 answer to a client that speaks for another client's application.
    static void refuseForeign(httplib::Response& res, const std::string& bundleId);

private:
    void application(const httplib::Request& req, httplib::Response& res);
    void whiteLabeling(const httplib::Request& req, httplib::Response& res);
    void receiveReport(const httplib::Request& req, httplib::Response& res);

    TokenEndpoint tokens_;
    const bool expireTokens_;
    Store& store_;
    RequestGate& gate_;
    std::string fallbackHost_;
};

}  // namespace vorna::backend
