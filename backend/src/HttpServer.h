#pragma once

#include <chrono>
#include <string>

#include <httplib.h>

namespace vorna::backend {

// The connection that carries the request a handler is serving.
class Connection {
public:
    virtual ~Connection() = default;

    // The request line and header lines of the current request, byte for byte as received,
    // up to and including the blank line.
    const std::string& rawHead() const { return rawHead_; }
    std::chrono::steady_clock::time_point requestStart() const { return requestStart_; }

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
    std::string rawHead_;
    std::chrono::steady_clock::time_point requestStart_;
    bool dropped_ = false;
};

// cpp-httplib's server with its connection handling replaced, for three reasons: requests are
// recorded as they came over the wire (httplib keeps headers sorted by name), a handler can
// drop a connection without answering, and request bodies reach the handlers untouched,
// whatever Content-Type the client sent. Clients of this backend join "application/json" to a
// multipart Content-Type with a comma, and they may send JSON under a form Content-Type;
// httplib would parse or refuse such bodies by their Content-Type, so the server hands
// the header to the handlers under another name (see contentType()).
class HttpServer : public httplib::Server {
public:
    HttpServer();

    // The connection of the request being served on the calling thread; nullptr elsewhere.
    static Connection* current();
    // The Content-Type values of the request, joined by ", ", as the client sent them.
    static std::string contentType(const httplib::Request& request);

private:
    bool process_and_close_socket(socket_t sock) override;
};

}  // namespace vorna::backend
