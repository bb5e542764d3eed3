#include "ReaderAccess.h"

#include <arpa/inet.h>

#include <cstring>
#include <string>
#include <utility>

#include "Answers.h"
#include "Credentials.h"
#include "PageFrame.h"
#include "Text.h"

namespace vorna::backend {

ReaderAccess::ReaderAccess(bool mustAuthenticate, std::vector<ClientCredentials> clients,
                           bool expireTokens, Store& store)
    : mustAuthenticate_(mustAuthenticate),
      clients_(std::move(clients)),
      expireTokens_(expireTokens),
      store_(store) {}

bool ReaderAccess::isLoopbackHost(std::string_view host) {
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    if (Text::iequals(host, "localhost")) {
        return true;
    }
    const std::string text(host);
    in_addr v4{};
    if (::inet_pton(AF_INET, text.c_str(), &v4) == 1) {
        return (ntohl(v4.s_addr) >> 24) == 127;
    }
    in6_addr v6{};
    if (::inet_pton(AF_INET6, text.c_str(), &v6) == 1) {
        if (IN6_IS_ADDR_LOOPBACK(&v6)) {
            return true;
        }
        return IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127;
    }
    return false;
}

bool ReaderAccess::hasCredential(const httplib::Request& req) const {
    const std::string header = req.get_header_value("Authorization");
    const std::string_view value = Text::trim(header);
    if (Text::istartsWith(value, "Bearer ")) {
        const std::string token(Text::trim(value.substr(7)));
        const auto found = token.empty() ? std::nullopt : store_.findToken(token);
        return found && (!expireTokens_ || found->expiresAt > Text::nowUnixSeconds());
    }
    Credentials::BasicError error{};
    // The id and secret as a browser sends them: neither is form-decoded.
    const auto basic = Credentials::parseBasic(value, error);
    return basic && Credentials::find(clients_, basic->id, basic->secret) != nullptr;
}

bool ReaderAccess::admits(const httplib::Request& req, httplib::Response& res, bool html) const {
    if (!mustAuthenticate_ || hasCredential(req)) {
        return true;
    }
    res.set_header("WWW-Authenticate", "Basic realm=\"vorna-backend\"");
    static constexpr const char* kWhy =
        "reading reports needs a client's access token (Authorization: Bearer) or a client's "
        "id and secret (HTTP Basic)";
    if (html) {
        res.status = 401;
        res.set_content(PageFrame::document("Sign in to read reports", PageFrame::Section::List,
                                            "<h1>Sign in to read reports</h1><p class=\"notice\">"
                                            "This backend is reachable from other machines, so "
                                            "its reports are shown to its clients only. Sign in "
                                            "with a client's id as the user name and its secret "
                                            "as the password.</p>"),
                        "text/html; charset=utf-8");
    } else {
        sendError(res, 401, kWhy);
    }
    return false;
}

}  // namespace vorna::backend
