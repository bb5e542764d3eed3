#include "ConnectionStream.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vorna::backend {

namespace {

// Waits until the socket can be read (POLLIN) or written (POLLOUT).
bool waitFor(int fd, short events, std::chrono::milliseconds timeout) {
    pollfd pfd{fd, events, 0};
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        const int rc = ::poll(&pfd, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
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

}  // namespace

ConnectionStream::ConnectionStream(int fd, const ConnectionLimits& limits,
                                   std::atomic<std::size_t>& openConnections)
    : fd_(fd), limits_(limits), openConnections_(openConnections), scanner_(limits.head) {
    ++openConnections_;
    std::string ip;
    int port = 0;
    get_remote_ip_and_port(ip, port);
    peer_ = ip + ":" + std::to_string(port);
    requestStart_ = Clock::now();
}

ConnectionStream::~ConnectionStream() {
    ::shutdown(fd_, SHUT_RDWR);
    ::close(fd_);
    --openConnections_;
}

HeadScanner::Result ConnectionStream::receiveHead(bool& peerClosed) {
    peerClosed = false;
    if (pos_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + pos_, len_ - pos_);
        len_ -= pos_;
        pos_ = 0;
    }
    // Room for a head at its limit and one more read: the scanner refuses the head before the
    // buffer is full.
    const std::size_t most = limits_.head.maxBytes + kReadSize;
    if (buffer_.size() - len_ < kReadSize && buffer_.size() < most) {
        buffer_.resize(std::min(most, std::max(buffer_.size() * 2, kReadSize)));
    }
    if (len_ == buffer_.size()) {
        return scanHead();
    }
    const ssize_t n = receive(buffer_.data() + len_, buffer_.size() - len_, MSG_DONTWAIT);
    if (n > 0) {
        len_ += static_cast<std::size_t>(n);
    } else if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
        peerClosed = true;
    }
    return scanHead();
}

HeadScanner::Result ConnectionStream::scanHead() {
    const auto result = scanner_.scan(std::string_view(buffer_.data() + pos_, len_ - pos_));
    if (result == HeadScanner::Result::Complete) {
        headLength_ = scanner_.length();
    }
    return result;
}

bool ConnectionStream::awaitHead(std::chrono::milliseconds timeout) {
    bool peerClosed = false;
    return waitFor(fd_, POLLIN, timeout) &&
           receiveHead(peerClosed) == HeadScanner::Result::Complete;
}

std::string ConnectionStream::requestLine() const {
    const std::string_view pending(buffer_.data() + pos_, len_ - pos_);
    const std::size_t end = pending.find('\n');
    if (end == std::string_view::npos) {
        return {};
    }
    std::string_view line = pending.substr(0, end);
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return std::string(line);
}

void ConnectionStream::releaseBuffer() {
    if (pos_ == len_) {
        std::vector<char>().swap(buffer_);
        pos_ = len_ = 0;
    }
}

void ConnectionStream::sendNow(const std::string& bytes) {
    (void)::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void ConnectionStream::beginRequest() {
    rawHead_.assign(buffer_.data() + pos_, headLength_);
    headLeft_ = headLength_;
    headLength_ = 0;
    scanner_.reset();
    meter_.reset();
    bodyFault_ = BodyFault::None;
    closeAfterAnswer_ = false;
    dropped_ = false;
    note.clear();
    recorded = false;
    // A kept-alive connection does not keep the largest body head it ever journaled.
    streamedBodySize = 0;
    std::string().swap(streamedBodyHead);
    streamedBodyComplete = false;
}

bool ConnectionStream::is_readable() const {
    return pos_ < len_ || waitFor(fd_, POLLIN, limits_.idleTimeout);
}

bool ConnectionStream::is_writable() const {
    return !dropped_ && waitFor(fd_, POLLOUT, limits_.idleTimeout);
}

ssize_t ConnectionStream::read(char* ptr, size_t size) {
    if (pos_ == len_) {
        if (!waitFor(fd_, POLLIN, limits_.idleTimeout)) {
            // Only a body is ever waited for here: the head is in the buffer before httplib
            // starts on it.
            bodyFault_ = BodyFault::Stalled;
            return -1;
        }
        if (size >= kReadSize) {
            // A large read goes straight to the caller.
            const ssize_t n = receive(ptr, size, 0);
            return n > 0 && !account(ptr, static_cast<std::size_t>(n)) ? -1 : n;
        }
        if (buffer_.size() < kReadSize) {
            buffer_.resize(kReadSize);
        }
        const ssize_t n = receive(buffer_.data(), buffer_.size(), 0);
        if (n <= 0) {
            return n;
        }
        pos_ = 0;
        len_ = static_cast<std::size_t>(n);
    }
    const std::size_t n = std::min(size, len_ - pos_);
    std::memcpy(ptr, buffer_.data() + pos_, n);
    pos_ += n;
    return account(ptr, n) ? static_cast<ssize_t>(n) : -1;
}

bool ConnectionStream::account(const char* ptr, std::size_t size) {
    const std::size_t head = std::min(size, headLeft_);
    headLeft_ -= head;
    if (!meter_ || size == head) {
        return true;
    }
    switch (meter_->feed(std::string_view(ptr + head, size - head))) {
        case ChunkedBodyMeter::Verdict::Going:
        case ChunkedBodyMeter::Verdict::Done:
            return true;
        case ChunkedBodyMeter::Verdict::TooLarge:
            bodyFault_ = BodyFault::TooLarge;
            return false;
        case ChunkedBodyMeter::Verdict::Malformed:
            bodyFault_ = BodyFault::Malformed;
            return false;
    }
    return false;
}

ssize_t ConnectionStream::write(const char* ptr, size_t size) {
    if (dropped_ || !waitFor(fd_, POLLOUT, limits_.idleTimeout)) {
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

ssize_t ConnectionStream::receive(char* ptr, std::size_t size, int flags) {
    for (;;) {
        const ssize_t n = ::recv(fd_, ptr, size, flags);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        return n;
    }
}

void ConnectionStream::get_remote_ip_and_port(std::string& ip, int& port) const {
    sockaddr_storage addr{};
    socklen_t len = sizeof addr;
    if (::getpeername(fd_, reinterpret_cast<sockaddr*>(&addr), &len) == 0) {
        addressOf(addr, len, ip, port);
    }
}

void ConnectionStream::get_local_ip_and_port(std::string& ip, int& port) const {
    sockaddr_storage addr{};
    socklen_t len = sizeof addr;
    if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) == 0) {
        addressOf(addr, len, ip, port);
    }
}

}  // namespace vorna::backend
