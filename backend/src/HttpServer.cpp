#include "HttpServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <string>
#include <utility>
#include <vector>

#include "Answers.h"
#include "BodyFraming.h"
#include "ConnectionHub.h"
#include "ConnectionLimits.h"
#include "ConnectionStream.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kHiddenContentType = "X-Vorna-Received-Content-Type";

thread_local ConnectionStream* tCurrent = nullptr;

// A client that sends its next request as soon as it has read an answer (a burst of calls
// on one connection) keeps its worker for it, and is spared the hand-over through the hub.
constexpr std::chrono::milliseconds kNextRequestWait{2};

// httplib's accept loop gives each socket to a task queue: this one passes it straight to the
// hub, which only queues it, so accepting never waits for a worker.
class HubQueue final : public httplib::TaskQueue {
public:
    explicit HubQueue(ConnectionHub& hub) : hub_(hub) {}
    void enqueue(std::function<void()> accepted) override { accepted(); }
    void shutdown() override { hub_.stop(); }

private:
    ConnectionHub& hub_;
};

void hideContentType(Request& request) {
    // Only the server names a header so; a client cannot pass one off as its Content-Type.
    request.headers.erase(kHiddenContentType);
    const auto range = request.headers.equal_range("Content-Type");
    std::vector<std::string> values;
    for (auto it = range.first; it != range.second; ++it) {
        values.push_back(it->second);
    }
    request.headers.erase("Content-Type");
    for (auto& value : values) {
        request.headers.emplace(kHiddenContentType, std::move(value));
    }
}

std::string describe(std::chrono::milliseconds duration) {
    return duration.count() % 1000 == 0 ? std::to_string(duration.count() / 1000) + " s"
                                        : std::to_string(duration.count()) + " ms";
}

}  // namespace

HttpServer::HttpServer(const ConnectionLimits& limits)
    : idleTimeout_(limits.idleTimeout),
      hub_(std::make_unique<ConnectionHub>(
          limits, [this](std::unique_ptr<ConnectionStream> c) { serve(std::move(c)); })) {
    new_task_queue = [this] {
        hub_->start();
        return new HubQueue(*hub_);
    };
    // Named in the Keep-Alive header of every answer.
    keep_alive_timeout_sec_ =
        std::chrono::ceil<std::chrono::seconds>(limits.keepAliveTimeout).count();

    httplib::Server::set_expect_100_continue_handler([this](const Request& req, Response& res) {
        return admitBody(req, res) ? 100 : res.status;
    });
    httplib::Server::set_pre_routing_handler([this](const Request& req, Response& res) {
        return admitBody(req, res) ? HandlerResponse::Unhandled : HandlerResponse::Handled;
    });
    httplib::Server::set_error_handler(HandlerWithResponse([this](const Request&, Response& res) {
        return answerBodyFault(res) ? HandlerResponse::Handled : HandlerResponse::Unhandled;
    }));
    httplib::Server::set_post_routing_handler(
        [this](const Request& req, Response& res) { finishAnswer(req, res); });
}

HttpServer::~HttpServer() {
    hub_->stop();
}

Connection* HttpServer::current() {
    return tCurrent;
}

std::string HttpServer::contentType(const Request& request) {
    std::string joined;
    const auto range = request.headers.equal_range(kHiddenContentType);
    for (auto it = range.first; it != range.second; ++it) {
        if (!joined.empty()) {
            joined += ", ";
        }
        joined += it->second;
    }
    return joined;
}

bool HttpServer::process_and_close_socket(socket_t sock) {
    const int on = 1;
    ::setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    hub_->adopt(sock);
    return true;
}

void HttpServer::serve(std::unique_ptr<ConnectionStream> connection) {
    for (;;) {
        const bool last = ++connection->requestsServed >= keep_alive_max_count_ ||
                          hub_->stopping() || svr_sock_ == INVALID_SOCKET;
        connection->beginRequest();
        tCurrent = connection.get();
        bool closed = false;
        const bool ok = process_request(*connection, last, closed, hideContentType);
        tCurrent = nullptr;
        if (!ok || connection->dropped()) {
            return;
        }
        if (connection->closesAfterAnswer()) {
            hub_->closeAfterLinger(std::move(connection));
            return;
        }
        if (closed || last) {
            return;
        }
        if (connection->scanHead() != HeadScanner::Result::Complete &&
            !connection->awaitHead(kNextRequestWait)) {
            hub_->park(std::move(connection));
            return;
        }
        connection->headStarted(std::chrono::steady_clock::now());
    }
}

bool HttpServer::admitBody(const Request& req, Response& res) {
    ConnectionStream* connection = tCurrent;
    if (connection == nullptr) {
        return true;
    }
    const BodyPlan plan = BodyPlan::of(req.method, req.headers, payload_max_length_);
    switch (plan.kind) {
        case BodyPlan::Kind::None:
        case BodyPlan::Kind::Length:
            return true;
        case BodyPlan::Kind::Chunked:
            connection->meterChunkedBody(payload_max_length_);
            return true;
        case BodyPlan::Kind::Unread:
            connection->closeAfterAnswer();
            return true;
        case BodyPlan::Kind::Refused:
            sendError(res, plan.status, plan.reason);
            connection->closeAfterAnswer();
            return false;
    }
    return true;
}

bool HttpServer::answerBodyFault(Response& res) {
    ConnectionStream* connection = tCurrent;
    if (connection == nullptr) {
        return false;
    }
    switch (connection->bodyFault()) {
        case ConnectionStream::BodyFault::None:
            return false;
        case ConnectionStream::BodyFault::TooLarge:
            sendError(res, 413, BodyPlan::kTooLarge);
            break;
        case ConnectionStream::BodyFault::Malformed:
            sendError(res, 400, "the chunked request body is malformed");
            break;
        case ConnectionStream::BodyFault::Stalled:
            sendError(res, 408,
                      "the request body stopped arriving: nothing came for " +
                          describe(idleTimeout_) + " (--idle-timeout)");
            break;
    }
    connection->closeAfterAnswer();
    return true;
}

void HttpServer::finishAnswer(const Request& req, Response& res) {
    if (ConnectionStream* connection = tCurrent;
        connection != nullptr && connection->closesAfterAnswer()) {
        res.headers.erase("Keep-Alive");
        res.headers.erase("Connection");
        res.set_header("Connection", "close");
    }
    addSecurityHeaders(res);
    if (onAnswer_) {
        onAnswer_(req, res);
    }
}

}  // namespace vorna::backend
