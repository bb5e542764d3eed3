#pragma once

#include <exception>
#include <optional>
#include <string>

#include <httplib.h>

#include "Answers.h"
#include "FaultInjector.h"
#include "Store.h"

namespace vorna::backend {

class RequestRecorder;

// What a request passes before its handler runs: the fault that a test injected for its path,
// the checks that keep the admin calls to this machine's own clients, and the 500 answer for
// a handler that throws.
class RequestGate {
public:
    RequestGate(FaultInjector& faults, RequestRecorder& recorder);

    // Runs an API handler after the fault injected for its path, if any.
    template <typename Handle>
    void api(const httplib::Request& req, httplib::Response& res, Handle&& handle) {
        if (const auto fault = takeFault(req); fault && playFault(req, res, *fault)) {
            return;
        }
        guarded(res, handle);
    }

    // Runs an admin handler for a loopback peer that names this machine as Host, comes from
    // no other origin, and sends a body, if any, as JSON.
    template <typename Handle>
    void admin(const httplib::Request& req, httplib::Response& res, Handle&& handle) {
        if (admitsAdmin(req, res)) {
            guarded(res, handle);
        }
    }

    // Runs a handler; what it throws becomes a 500 answer, or 503 while the database is away.
    template <typename Handle>
    static void guarded(httplib::Response& res, Handle&& handle) {
        try {
            handle();
        } catch (const StoreUnavailable& e) {
            sendError(res, 503, std::string("the database is unavailable: ") + e.what());
        } catch (const std::exception& e) {
            sendError(res, 500, std::string("internal error: ") + e.what());
        }
    }

    // Takes one use of the fault injected for the request's path, noted on its log line.
    std::optional<FaultInjector::Fault> takeFault(const httplib::Request& req);
    // Waits the fault's delay, then drops the connection or answers with the fault's status.
    // False when the fault was a delay only and the request is still to be answered.
    bool playFault(const httplib::Request& req, httplib::Response& res,
                   const FaultInjector::Fault& fault);

private:
    // False, with a 403 answer set, for a request that does not come from this machine's own
    // clients.
    bool admitsAdmin(const httplib::Request& req, httplib::Response& res);
    void drop(const httplib::Request& req, httplib::Response& res);

    FaultInjector& faults_;
    RequestRecorder& recorder_;
};

}  // namespace vorna::backend
