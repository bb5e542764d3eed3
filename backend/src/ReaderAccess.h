#pragma once

#include <string_view>
#include <vector>

#include <httplib.h>

#include "Options.h"
#include "Store.h"

namespace vorna::backend {

// Who may read the received reports, their files and the pages. A backend that listens on
// loopback only is reached from this machine alone, and its reports are open to it. Any
// other backend asks every reader for a credential: the bearer token of any client, or, for a
// person in a browser, the id and secret of a configured client through HTTP Basic.
class ReaderAccess {
public:
    ReaderAccess(bool mustAuthenticate, std::vector<ClientCredentials> clients, bool expireTokens,
                 Store& store);

    // True when the request may read; otherwise false, with a 401 answer set that makes a
    // browser ask for the id and secret. `html` picks a page rather than JSON for the answer.
    bool admits(const httplib::Request& req, httplib::Response& res, bool html) const;

    // Whether an address given to --host reaches this machine only: 127.0.0.0/8, ::1 (also as
    // an IPv4-mapped address) or "localhost".
    static bool isLoopbackHost(std::string_view host);

private:
    bool hasCredential(const httplib::Request& req) const;

    const bool mustAuthenticate_;
    const std::vector<ClientCredentials> clients_;
    const bool expireTokens_;
    Store& store_;
};

}  // namespace vorna::backend
