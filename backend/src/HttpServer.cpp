#include "HttpServer.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Text.h"
#include "platform/VRNHandles.h"

namespace vorna::backend {

namespace {

constexpr const char* kHiddenContentType = "X-Vorna-Received-Content-Type";
constexpr int kStopCheckMs = 50;

thread_local Connection* tCurrent = nullptr;

// Waits until the socket can be read (events POLLIN) or written (POLLOUT).
bool waitFor(int fd, short events, time_t sec, time_t usec) {
    pollfd pfd{fd, events, 0};
    const long long total = static_cast<long long>(sec) * 1000 + usec / 1000;
    const int timeout = total > 0x7fffffff ? 0x7fffffff : static_cast<int>(total);
    for (;;) {
        const int rc = ::poll(&pfd, 1, timeout);
        if (rc < 0 && errno == EINTR) {
            continue;
        }
        return rc > 0;
    }
}

void addressOf(const sockaddr_storage& addr, socklen_t len, std::string& ip, int& port) {
    char host[NI_MAXHOST];
    char service[NI_MAXSERV];
    if (::getnameinfo(reinterpret_cast<const sockaddr*>(&addr), len, host, sizeof host, service,
                      sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
        ip = host;
        port = std::atoi(service);
    }
}

// One accepted socket. Reads are buffered here; the header block of each request is copied
// aside as it passes.
class ConnectionStream final : public httplib::Stream, public Connection {
public:
    ConnectionStream(int fd, time_t readSec, time_t readUsec, time_t writeSec, time_t writeUsec)
        : fd_(fd),
          readSec_(readSec),
          readUsec_(readUsec),
          writeSec_(writeSec),
          writeUsec_(writeUsec) {}

    // Waits for the next request; false when the keep-alive time passed, the peer went away
    // or the server is stopping.
    template <typename StopRequested>
    bool awaitRequest(time_t keepAliveSec, StopRequested stopRequested) {
        if (pos_ < len_) {
            return true;
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(keepAliveSec);
        while (!stopRequested()) {
            pollfd pfd{fd_, POLLIN, 0};
            const int rc = ::poll(&pfd, 1, kStopCheckMs);
            if (rc > 0) {
                return true;
            }
            if (rc < 0 && errno != EINTR) {
                return false;
            }
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
        }
        return false;
    }

    void beginRequest() {
        rawHead_.clear();
        capturing_ = true;
        headComplete_ = false;
        dropped_ = false;
        note.clear();
        recorded = false;
        streamedBodySize = 0;
        streamedBodyHead.clear();
        streamedBodyComplete = false;
        requestStart_ = std::chrono::steady_clock::now();
    }

    // False when the request's head never ended with its blank line: httplib refused it, and
    // what follows on the connection cannot be told apart from a new request.
    bool headComplete() const { return headComplete_; }

    bool is_readable() const override {
        return pos_ < len_ || waitFor(fd_, POLLIN, readSec_, readUsec_);
    }
    bool is_writable() const override {
        return !dropped_ && waitFor(fd_, POLLOUT, writeSec_, writeUsec_);
    }

    ssize_t read(char* ptr, size_t size) override {
        if (pos_ == len_) {
            if (!waitFor(fd_, POLLIN, readSec_, readUsec_)) {
                return -1;
            }
            // A large read goes straight to the caller once the head is through.
            if (!capturing_ && size >= sizeof buffer_) {
                return receive(ptr, size);
            }
            const ssize_t n = receive(buffer_, sizeof buffer_);
            if (n <= 0) {
                return n;
            }
            pos_ = 0;
            len_ = static_cast<std::size_t>(n);
        }
        const std::size_t n = std::min(size, len_ - pos_);
        std::memcpy(ptr, buffer_ + pos_, n);
        pos_ += n;
        if (capturing_) {
            capture(ptr, n);
        }
        return static_cast<ssize_t>(n);
    }

    ssize_t write(const char* ptr, size_t size) override {
        if (dropped_ || !waitFor(fd_, POLLOUT, writeSec_, writeUsec_)) {
            return -1;
        }
        for (;;) {
            const ssize_t n = ::send(fd_, ptr, size, MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            return n;
        }
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        sockaddr_storage addr{};
        socklen_t len = sizeof addr;
        if (::getpeername(fd_, reinterpret_cast<sockaddr*>(&addr), &len) == 0) {
            addressOf(addr, len, ip, port);
        }
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        sockaddr_storage addr{};
        socklen_t len = sizeof addr;
        if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) == 0) {
            addressOf(addr, len, ip, port);
        }
    }
    socket_t socket() const override { return fd_; }

private:
    ssize_t receive(char* ptr, std::size_t size) {
        for (;;) {
            const ssize_t n = ::recv(fd_, ptr, size, 0);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            return n;
        }
    }

    void capture(const char* ptr, std::size_t n) {
        for (std::size_t i = 0; i < n && capturing_; ++i) {
            rawHead_.push_back(ptr[i]);
            if (rawHead_.size() >= 4 && rawHead_.compare(rawHead_.size() - 4, 4, "\r\n\r\n") == 0) {
                capturing_ = false;
                headComplete_ = true;
            } else if (rawHead_.size() > 1024 * 1024) {
                capturing_ = false;  // httplib refuses such a head anyway
            }
        }
    }

    int fd_;
    time_t readSec_;
    time_t readUsec_;
    time_t writeSec_;
    time_t writeUsec_;
    char buffer_[16 * 1024];
    std::size_t pos_ = 0;
    std::size_t len_ = 0;
    bool capturing_ = false;
    bool headComplete_ = false;
};

}  // namespace

HttpServer::HttpServer() = default;

Connection* HttpServer::current() {
    return tCurrent;
}

std::string HttpServer::contentType(const httplib::Request& request) {
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
    // Closed once this connection is done with, however its requests end.
    const VRNFileDescriptor socket(sock);
    const int on = 1;
    ::setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

    ConnectionStream stream(sock, read_timeout_sec_, read_timeout_usec_, write_timeout_sec_,
                            write_timeout_usec_);
    const auto hideContentType = [](httplib::Request& request) {
        const auto range = request.headers.equal_range("Content-Type");
        std::vector<std::string> values;
        for (auto it = range.first; it != range.second; ++it) {
            values.push_back(it->second);
        }
        request.headers.erase("Content-Type");
        for (auto& value : values) {
            request.headers.emplace(kHiddenContentType, std::move(value));
        }
    };
    const auto stopRequested = [this] { return svr_sock_ == INVALID_SOCKET; };

    bool ok = false;
    for (std::size_t left = keep_alive_max_count_; left > 0; --left) {
        if (!stream.awaitRequest(keep_alive_timeout_sec_, stopRequested)) {
            break;
        }
        stream.beginRequest();
        tCurrent = &stream;
        bool closed = false;
        ok = process_request(stream, left == 1 || stopRequested(), closed, hideContentType);
        tCurrent = nullptr;
        if (!ok || closed || stream.dropped() || !stream.headComplete()) {
            break;
        }
    }
    ::shutdown(sock, SHUT_RDWR);
    return ok;
}

}  // namespace vorna::backend
