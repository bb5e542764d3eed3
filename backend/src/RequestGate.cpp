#include "RequestGate.h"

#include <chrono>
#include <thread>

#include "HttpServer.h"
#include "RequestRecorder.h"

namespace vorna::backend {

namespace {

bool isLoopback(const std::string& address) {
    return address.starts_with("127.") || address == "::1" || address.starts_with("::ffff:127.");
}

}  // namespace

RequestGate::RequestGate(FaultInjector& faults, RequestRecorder& recorder)
    : faults_(faults), recorder_(recorder) {}

std::optional<FaultInjector::Fault> RequestGate::takeFault(const httplib::Request& req) {
    auto fault = faults_.take(req.path);
    if (Connection* connection = HttpServer::current(); fault && connection != nullptr) {
        connection->note = "fault: " + FaultInjector::describe(*fault);
    }
    return fault;
}

bool RequestGate::playFault(const httplib::Request& req, httplib::Response& res,
                            const FaultInjector::Fault& fault) {
    if (fault.delayMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
    }
    if (fault.drop) {
        drop(req, res);
        return true;
    }
    if (fault.status == 0) {
        return false;
    }
    res.status = fault.status;
    if (fault.body) {
        res.set_content(*fault.body, "application/json");
    } else {
        sendJson(res, fault.status,
                 nlohmann::json{{"error", "injected fault"}, {"status", fault.status}});
    }
    return true;
}

bool RequestGate::admitsAdmin(const httplib::Request& req, httplib::Response& res) {
    if (isLoopback(req.remote_addr)) {
        return true;
    }
    sendError(res, 403, "admin calls are answered for loopback peers only");
    return false;
}

void RequestGate::drop(const httplib::Request& req, httplib::Response& res) {
    Connection* connection = HttpServer::current();
    if (connection == nullptr) {
        sendError(res, 500, "cannot drop a connection outside a request");
        return;
    }
    connection->drop();
    recorder_.record(req, res);
}

}  // namespace vorna::backend
