#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <httplib.h>

namespace vorna::backend {

class ConnectionHub;
class ConnectionStream;
struct ConnectionLimits;

// The connection that carries the request a handler is serving.
class Connection {
public:
    virtual ~Connection() = default;

    // The request line and header lines of the current request, byte for byte as received,
    // up to and including the blank line.
    const std::string& rawHead() const { return rawHead_; }
    std::chrono::steady_clock::time_point requestStart() const { return requestStart_; }
    // "address:port" of the client.
    const std::string& peer() const { return peer_; }

    // Closes the connection once the handler returns, without writing any answer.
    void drop() { dropped_ = true; }
    bool dropped() const { return dropped_; }

    // A short remark for the request log line (an injected fault, a refusal).
    std::string note;
    // Set once the request has been written to the journal and the log.
    bool recorded = false;
    // A handler that reads the body itself leaves here how many bytes it read and the first
    // bytes of it, for the journal.
    std::size_t streamedBodySize = 0;
    std::string streamedBodyHead;
    bool streamedBodyComplete = false;

protected:
    std::string peer_;
    std::string rawHead_;
    std::chrono::steady_clock::time_point requestStart_;
    bool dropped_ = false;
};

// cpp-httplib's server with its connection handling replaced, for these reasons: requests are
// recorded as they came over the wire (httplib keeps headers sorted by name), a handler can
// drop a connection without answering, request bodies reach the handlers untouched, whatever
// Content-Type the client sent, and no client can take more than its share: a request head is
// read whole, within its limits and its time, before a worker takes it (see ConnectionHub),
// and a body is admitted by its framing before it is read (see BodyPlan).
//
// Clients of this backend join "application/json" to a multipart Content-Type with a comma,
// and they may send JSON under a form Content-Type; httplib would parse or refuse such bodies
// by their Content-Type, so the server hands the header to the handlers under another name
// (see contentType()).
//
// Every answer passes one place before it is written: the security headers are added there,
// and the answer is recorded (onAnswer) before the client can see it.
class HttpServer : public httplib::Server {
public:
    explicit HttpServer(const ConnectionLimits& limits);
    ~HttpServer() override;

    // The connection of the request being served on the calling thread; nullptr elsewhere.
    static Connection* current();
    // The Content-Type values of the request, joined by ", ", as the client sent them.
    static std::string contentType(const httplib::Request& request);

    // Called with each final answer just before it is written.
    void onAnswer(std::function<void(const httplib::Request&, const httplib::Response&)> recorder) {
        onAnswer_ = std::move(recorder);
    }

private:
    // These belong to the server itself; a route cannot replace them.
    using httplib::Server::set_error_handler;
    using httplib::Server::set_expect_100_continue_handler;
    using httplib::Server::set_post_routing_handler;
    using httplib::Server::set_pre_routing_handler;

    bool process_and_close_socket(socket_t sock) override;
    void serve(std::unique_ptr<ConnectionStream> connection);
    // False, with the refusal set as the answer, for a body this server does not take.
    bool admitBody(const httplib::Request& req, httplib::Response& res);
    // The answer to a request whose body went wrong as it was read.
    bool answerBodyFault(httplib::Response& res);
    void finishAnswer(const httplib::Request& req, httplib::Response& res);

    const std::chrono::milliseconds idleTimeout_;
    std::unique_ptr<ConnectionHub> hub_;
    std::function<void(const httplib::Request&, const httplib::Response&)> onAnswer_;
};

}  // namespace vorna::backend
