#pragma once

#include <httplib.h>

#include "FaultInjector.h"
#include "HttpServer.h"
#include "RequestGate.h"
#include "RequestJournal.h"
#include "Store.h"

namespace vorna::backend {

// The calls with which the tests of a client steer this backend and look into it: archiving
// applications, the branding, injected faults and the journal of requests. Answered for
// loopback peers only.
class AdminCalls {
public:
    AdminCalls(Store& store, FaultInjector& faults, RequestJournal& journal, RequestGate& gate);

    void install(HttpServer& server);

private:
    void setArchived(const httplib::Request& req, httplib::Response& res);
    void listApplications(const httplib::Request& req, httplib::Response& res);
    void setBranding(const httplib::Request& req, httplib::Response& res);
    void clearBranding(const httplib::Request& req, httplib::Response& res);
    void addFaults(const httplib::Request& req, httplib::Response& res);
    void listFaults(const httplib::Request& req, httplib::Response& res);
    void clearFaults(const httplib::Request& req, httplib::Response& res);
    void listRequests(const httplib::Request& req, httplib::Response& res);
    void clearRequests(const httplib::Request& req, httplib::Response& res);

    Store& store_;
    FaultInjector& faults_;
    RequestJournal& journal_;
    RequestGate& gate_;
};

}  // namespace vorna::backend
