#pragma once

// A client that writes exactly the bytes a test gives it, for requests no ordinary client
// sends: heads that never end, bodies without a length, bytes that trickle in.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "BackendProcess.h"

namespace vorna::backend::test {

using namespace std::chrono_literals;

class RawClient {
public:
    explicit RawClient(int port) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(port));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (fd_ < 0 || ::connect(fd_, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0) {
            throw std::runtime_error("RawClient: cannot connect");
        }
    }
    ~RawClient() { ::close(fd_); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    // Sends what the backend takes within the time-out; false once it stopped taking bytes,
    // closed or reset the connection.
    bool send(std::string_view bytes, std::chrono::milliseconds timeout = 10s) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!bytes.empty()) {
            if (!wait(POLLOUT, deadline)) {
                return false;
            }
            const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
                continue;
            }
            if (n <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(n));
        }
        return true;
    }

    // Sends piece after piece until maxBytes went out, the backend began to answer or it
    // stopped taking bytes; answers how many bytes went out.
    std::size_t sendUntilAnswered(std::string_view piece, std::size_t maxBytes) {
        std::size_t sent = 0;
        while (sent < maxBytes && !answering()) {
            if (!send(piece, 2s)) {
                break;
            }
            sent += piece.size();
        }
        return sent;
    }

    // The next answer: status 0 when the connection ended before a whole answer came.
    vorna::test::HttpAnswer answer(std::chrono::milliseconds timeout = 10s) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        std::size_t headEnd;
        while ((headEnd = pending_.find("\r\n\r\n")) == std::string::npos) {
            if (!receive(deadline)) {
                return {};
            }
        }
        vorna::test::HttpAnswer answer;
        std::string_view head(pending_.data(), headEnd);
        answer.status = std::atoi(std::string(head.substr(9, 3)).c_str());
        head.remove_prefix(std::min(head.size(), head.find("\r\n")));
        while (!head.empty()) {
            head.remove_prefix(2);
            const std::string_view line = head.substr(0, head.find("\r\n"));
            head.remove_prefix(line.size());
            const std::size_t colon = line.find(':');
            answer.headers.emplace_back(std::string(line.substr(0, colon)),
                                        std::string(line.substr(colon + 2)));
        }
        const std::size_t length =
            std::strtoull(answer.header("Content-Length").c_str(), nullptr, 10);
        while (pending_.size() < headEnd + 4 + length) {
            if (!receive(deadline)) {
                return {};
            }
        }
        answer.body = pending_.substr(headEnd + 4, length);
        pending_.erase(0, headEnd + 4 + length);
        return answer;
    }

    // Reads and throws away until the backend closes the connection; false when it is still
    // open at the time-out.
    bool closedWithin(std::chrono::milliseconds timeout) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (receive(deadline)) {
            pending_.clear();
        }
        return closed_;
    }

private:
    bool answering() {
        pollfd pfd{fd_, POLLIN, 0};
        return !pending_.empty() || ::poll(&pfd, 1, 0) > 0;
    }

    bool wait(short events, std::chrono::steady_clock::time_point deadline) {
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                return false;
            }
            pollfd pfd{fd_, events, 0};
            const int rc = ::poll(&pfd, 1, static_cast<int>(left.count()));
            if (rc > 0) {
                return true;
            }
            if (rc < 0 && errno != EINTR) {
                return false;
            }
        }
    }

    // Appends what comes; false when the connection ended (closed_) or the time ran out.
    bool receive(std::chrono::steady_clock::time_point deadline) {
        if (closed_ || !wait(POLLIN, deadline)) {
            return false;
        }
        char buffer[64 * 1024];
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n <= 0) {
            closed_ = n == 0 || errno == ECONNRESET;
            return false;
        }
        pending_.append(buffer, static_cast<std::size_t>(n));
        return true;
    }

    int fd_;
    std::string pending_;
    bool closed_ = false;
};

// The backend's peak resident memory in KiB (VmHWM), -1 when it cannot be read.
inline long peakResidentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

// "GET /x HTTP/1.1" with a Host header of the backend and the given header lines.
inline std::string head(const std::string& requestLine, int port, const std::string& lines = {}) {
    return requestLine + "\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" + lines + "\r\n";
}

}  // namespace vorna::backend::test
