#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <httplib.h>

#include "HttpServer.h"
#include "Options.h"
#include "RequestGate.h"
#include "Store.h"

namespace vorna::backend {

// The OAuth2 token endpoint of the client-credentials grant (RFC 6749 sections 2.3.1, 4.4 and
// 5). A client proves itself either with an "Authorization: Basic" header, whose id and secret
// are form-encoded inside it, or with client_id and client_secret in the form, put there as
// they stand (the kit's way); never with both. Every answer, token or error, is marked not to
// be cached, and errors carry the RFC's codes: invalid_request, invalid_client (401, with a
// Basic challenge) and unsupported_grant_type.
//
// The body is read as it arrives and kept only up to kMaxBodyBytes; a larger one is read to
// its end and refused, so a client sees the answer instead of a reset connection.
class TokenEndpoint {
public:
    static constexpr const char* kPath = "/auth/oauth2/token";
    static constexpr std::int64_t kTokenLifetimeSeconds = 3600;
    // A token request is a few hundred bytes; nothing a client needs comes near this.
    static constexpr std::size_t kMaxBodyBytes = 64 * 1024;

    TokenEndpoint(std::vector<ClientCredentials> clients, Store& store, RequestGate& gate);

    void install(HttpServer& server);

private:
    void receive(const httplib::Request& req, httplib::Response& res,
                 const httplib::ContentReader& reader);
    void answer(const httplib::Request& req, std::string_view body, httplib::Response& res);
    // The configured client that any spelling of the id and secret names (see TokenForm).
    const ClientCredentials* findClient(std::string_view id, std::string_view secret) const;
    void issue(const ClientCredentials& client, httplib::Response& res);

    const std::vector<ClientCredentials> clients_;
    Store& store_;
    RequestGate& gate_;
};

}  // namespace vorna::backend
