#include "RequestGate.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <thread>

#include "HttpServer.h"
#include "RequestRecorder.h"
#include "Text.h"

namespace vorna::backend {

namespace {

bool isLoopback(const std::string& address) {
    return address.starts_with("127.") || address == "::1" || address.starts_with("::ffff:127.");
}

// "host[:port]" naming this machine by a name that no other machine can answer to, with the
// port it names ("80" when none).
std::optional<std::string> loopbackPort(std::string_view authority) {
    std::string_view host = authority;
    std::string_view port = "80";
    const std::size_t colon = authority.rfind(':');
    if (colon != std::string_view::npos && authority.find(']', colon) == std::string_view::npos) {
        host = authority.substr(0, colon);
        port = authority.substr(colon + 1);
        if (port.empty() ||
            !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            return std::nullopt;
        }
    }
    if (host == "127.0.0.1" || host == "[::1]" || Text::iequals(host, "localhost")) {
        return std::string(port);
    }
    return std::nullopt;
}

// A page's origin ("scheme://host[:port]") on this machine and on the port the request came to.
bool isOwnOrigin(std::string_view origin, const std::string& hostPort) {
    std::string_view defaultPort;
    if (Text::istartsWith(origin, "http://")) {
        origin.remove_prefix(7);
        defaultPort = "80";
    } else if (Text::istartsWith(origin, "https://")) {
        origin.remove_prefix(8);
        defaultPort = "443";
    } else {
        return false;  // "null" too: a sandboxed frame or a file
    }
    if (origin.find('/') != std::string_view::npos) {
        return false;
    }
    const bool hasPort = origin.rfind(':') != std::string_view::npos && !origin.ends_with(']');
    const auto port = loopbackPort(origin);
    return port && (hasPort ? *port : std::string(defaultPort)) == hostPort;
}

bool isJsonContentType(std::string_view contentType) {
    const std::size_t semicolon = contentType.find(';');
    return Text::iequals(Text::trim(contentType.substr(0, semicolon)), "application/json");
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
    if (!isLoopback(req.remote_addr)) {
        sendError(res, 403, "admin calls are answered for loopback peers only");
        return false;
    }
    // A browser on this machine is a loopback peer too. A page it loaded from a name that
    // was made to point here (DNS rebinding) sends that name as Host; a page of another
    // site sends its own Origin, and can send a body only as a form or text/plain.
    const auto hostPort = req.get_header_value_count("Host") == 1
                              ? loopbackPort(req.get_header_value("Host"))
                              : std::nullopt;
    if (!hostPort) {
        sendError(res, 403,
                  "admin calls are answered only when the Host header names this machine "
                  "(127.0.0.1, localhost or [::1])");
        return false;
    }
    const std::string fetchSite = req.get_header_value("Sec-Fetch-Site");
    if ((req.has_header("Origin") && !isOwnOrigin(req.get_header_value("Origin"), *hostPort)) ||
        (!fetchSite.empty() && fetchSite != "same-origin" && fetchSite != "none")) {
        sendError(res, 403, "admin calls are not answered for pages of another origin");
        return false;
    }
    if (!req.body.empty() && !isJsonContentType(HttpServer::contentType(req))) {
        sendError(res, 403, "admin calls take a body only as application/json");
        return false;
    }
    return true;
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
