#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <httplib.h>

#include "BodyFraming.h"
#include "ConnectionLimits.h"
#include "HeadScanner.h"
#include "HttpServer.h"

namespace vorna::backend {

// One accepted socket, with its read buffer. Between requests the connection hub fills the
// buffer until a whole head is in it; during a request a worker reads the head from the
// buffer and the body through it, with httplib parsing both. The head is copied aside for the
// journal, and a chunked body is metered as it passes.
class ConnectionStream final : public httplib::Stream, public Connection {
public:
    using Clock = std::chrono::steady_clock;
    enum class BodyFault { None, TooLarge, Malformed, Stalled };

    // Takes the socket, and counts itself in openConnections while it lives.
    ConnectionStream(int fd, const ConnectionLimits& limits,
                     std::atomic<std::size_t>& openConnections);
    ~ConnectionStream() override;
    ConnectionStream(const ConnectionStream&) = delete;
    ConnectionStream& operator=(const ConnectionStream&) = delete;

    int fd() const { return fd_; }

    // Between requests (on the hub's thread): reads what the socket holds, without waiting,
    // and looks for the end of the head. peerClosed tells that the client went away.
    HeadScanner::Result receiveHead(bool& peerClosed);
    // Looks for the end of a head in what is buffered already (pipelined requests).
    HeadScanner::Result scanHead();
    // Waits up to the time-out for a whole head to arrive; false when it has not.
    bool awaitHead(std::chrono::milliseconds timeout);
    std::size_t bufferedBytes() const { return len_ - pos_; }
    // The first line received of the head, for log lines ("" before it is complete).
    std::string requestLine() const;
    // Called when the first byte of a head arrives; the request's time counts from there.
    void headStarted(Clock::time_point when) { requestStart_ = when; }
    // An idle connection gives its buffer back until its next request.
    void releaseBuffer();
    // Writes a short answer if the socket takes it at once; for answers made outside httplib.
    void sendNow(const std::string& bytes);

    // During a request (on a worker).
    void beginRequest();
    void meterChunkedBody(std::uint64_t limit) { meter_.emplace(limit); }
    void closeAfterAnswer() { closeAfterAnswer_ = true; }
    // Also when httplib did not read the whole head: it refused the request line, so where
    // the next request starts is unknown.
    bool closesAfterAnswer() const { return closeAfterAnswer_ || headLeft_ > 0; }
    BodyFault bodyFault() const { return bodyFault_; }
    std::size_t requestsServed = 0;

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* ptr, size_t size) override;
    ssize_t write(const char* ptr, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return fd_; }

private:
    static constexpr std::size_t kReadSize = 16 * 1024;

    ssize_t receive(char* ptr, std::size_t size, int flags);
    // Counts the bytes that were read: the head's first, then the body's through the meter.
    bool account(const char* ptr, std::size_t size);

    const int fd_;
    const ConnectionLimits& limits_;
    std::atomic<std::size_t>& openConnections_;
    std::vector<char> buffer_;
    std::size_t pos_ = 0;
    std::size_t len_ = 0;
    HeadScanner scanner_;
    std::size_t headLength_ = 0;  // of the complete head at pos_
    std::size_t headLeft_ = 0;    // bytes of the current head that httplib has not read yet
    std::optional<ChunkedBodyMeter> meter_;
    BodyFault bodyFault_ = BodyFault::None;
    bool closeAfterAnswer_ = false;
};

}  // namespace vorna::backend
