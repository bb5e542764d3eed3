#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Options.h"

namespace vorna::backend {

// What the clients of this backend prove themselves with: their id and secret, sent in an
// HTTP Basic header or in a form, checked against the configured clients.
class Credentials {
public:
    // A user-id/password pair as an "Authorization: Basic" header carries it, not decoded any
    // further.
    struct Basic {
        std::string id;
        std::string secret;
    };
    enum class BasicError { NotBasic, NotBase64, NoColon, TooLong };

    // The longest header value that is decoded at all; a Basic credential of any real client is
    // far shorter.
    static constexpr std::size_t kMaxBasicLength = 4096;

    // Reads an Authorization header value. `error` says why a value that is not a usable Basic
    // credential was refused.
    static std::optional<Basic> parseBasic(std::string_view header, BasicError& error);
    static const char* describe(BasicError error);

    // Compares two secrets in a time that depends on their lengths only, never on where they
    // first differ.
    static bool equalSecrets(std::string_view a, std::string_view b);

    // The configured client with this id and secret; every client is compared in full, so the
    // time taken does not tell which ids exist.
    static const ClientCredentials* find(const std::vector<ClientCredentials>& clients,
                                         std::string_view id, std::string_view secret);

    static std::optional<std::string> decodeBase64(std::string_view text);
};

}  // namespace vorna::backend
