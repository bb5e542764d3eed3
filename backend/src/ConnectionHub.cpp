#include "ConnectionHub.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "Answers.h"
#include "LogLine.h"

namespace vorna::backend {

namespace {

// Sockets accepted beyond the limit before the watcher has closed older ones; past this a
// new socket is closed at once, so a burst of connections cannot run the descriptors up to
// where httplib stops serving them.
constexpr std::size_t kAcceptSlack = 64;

// What a closing connection may still send; a client that goes on past it is not waiting
// for its answer.
constexpr std::size_t kLingerBytes = 1024 * 1024;

std::string describe(std::chrono::milliseconds duration) {
    return duration.count() % 1000 == 0 ? std::to_string(duration.count() / 1000) + " s"
                                        : std::to_string(duration.count()) + " ms";
}

// "METHOD target" of a request line, for log lines; "-" before the line is complete.
std::string requestOf(const std::string& line) {
    if (line.empty()) {
        return "\"-\"";
    }
    const std::size_t method = line.find(' ');
    const std::size_t target =
        method == std::string::npos ? std::string::npos : line.find(' ', method + 1);
    return "\"" +
           LogLine::escape(std::string_view(line).substr(0, std::min<std::size_t>(target, 300))) +
           "\"";
}

}  // namespace

ConnectionHub::ConnectionHub(const ConnectionLimits& limits, Serve serve)
    : limits_(limits), serve_(std::move(serve)) {}

ConnectionHub::~ConnectionHub() {
    stop();
}

void ConnectionHub::start() {
    std::lock_guard lock(lifecycleMutex_);
    if (started_) {
        return;
    }
    started_ = true;
    wakeFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    watcher_ = std::thread([this] { watch(); });
    for (std::size_t i = 0; i < std::max<std::size_t>(limits_.workers, 1); ++i) {
        workers_.emplace_back([this] { work(); });
    }
}

void ConnectionHub::stop() {
    std::lock_guard lock(lifecycleMutex_);
    if (!started_ || stopping_.exchange(true)) {
        return;
    }
    hand(Waiting{});  // wakes the watcher, which closes what waits and ends
    watcher_.join();
    {
        std::lock_guard ready(readyMutex_);
        workersStop_ = true;
    }
    readyChanged_.notify_all();
    for (auto& worker : workers_) {
        worker.join();
    }
    std::lock_guard inbox(inboxMutex_);
    inbox_.clear();
    ::close(wakeFd_);
}

void ConnectionHub::adopt(int fd) {
    auto connection = std::make_unique<ConnectionStream>(fd, limits_, open_);
    if (stopping_) {
        return;
    }
    if (const std::size_t open = open_; open > limits_.maxConnections + kAcceptSlack) {
        connection->sendNow(closingAnswer(503, "too many connections are open"));
        LogLine::connectionEvent(connection->peer(),
                                 "503 closed at once: " + std::to_string(open) +
                                     " connections are open (--max-connections)");
        return;
    }
    const auto now = Clock::now();
    hand(Waiting{std::move(connection), Phase::Fresh, now, now + limits_.headTimeout});
}

void ConnectionHub::park(std::unique_ptr<ConnectionStream> connection) {
    if (stopping_) {
        return;
    }
    const auto now = Clock::now();
    if (connection->bufferedBytes() > 0) {
        // The start of the next request came with the last one.
        connection->headStarted(now);
        hand(Waiting{std::move(connection), Phase::Head, now, now + limits_.headTimeout});
    } else {
        connection->releaseBuffer();
        hand(Waiting{std::move(connection), Phase::KeepAlive, now, now + limits_.keepAliveTimeout});
    }
}

void ConnectionHub::closeAfterLinger(std::unique_ptr<ConnectionStream> connection) {
    if (stopping_) {
        return;
    }
    ::shutdown(connection->fd(), SHUT_WR);
    const auto now = Clock::now();
    hand(Waiting{std::move(connection), Phase::Closing, now, now + limits_.lingerTimeout});
}

void ConnectionHub::hand(Waiting waiting) {
    {
        std::lock_guard lock(inboxMutex_);
        if (waiting.connection) {
            inbox_.push_back(std::move(waiting));
        }
    }
    const std::uint64_t one = 1;
    (void)::write(wakeFd_, &one, sizeof one);
}

void ConnectionHub::watch() {
    std::vector<pollfd> fds;
    while (!stopping_) {
        takeInbox(Clock::now());
        closeOverLimit();

        const auto now = Clock::now();
        auto next = now + std::chrono::minutes(1);
        fds.assign(1, pollfd{wakeFd_, POLLIN, 0});
        for (const auto& waiting : waiting_) {
            next = std::min(next, waiting.deadline);
            fds.push_back(pollfd{waiting.connection->fd(), POLLIN, 0});
        }
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - now);
        if (::poll(fds.data(), fds.size(), static_cast<int>(std::max<long long>(wait.count(), 0))) <
                0 &&
            errno != EINTR) {
            break;
        }
        std::uint64_t wakes = 0;
        (void)::read(wakeFd_, &wakes, sizeof wakes);

        const auto after = Clock::now();
        for (std::size_t i = 0; i + 1 < fds.size(); ++i) {
            Waiting& waiting = waiting_[i];
            if (fds[i + 1].revents != 0 && readable(waiting, after)) {
                waiting.connection.reset();
            } else if (after >= waiting.deadline) {
                expire(waiting);
                waiting.connection.reset();
            }
        }
        std::erase_if(waiting_, [](const Waiting& waiting) { return !waiting.connection; });
    }
    waiting_.clear();
}

void ConnectionHub::takeInbox(Clock::time_point now) {
    std::vector<Waiting> arrived;
    {
        std::lock_guard lock(inboxMutex_);
        arrived.swap(inbox_);
    }
    for (auto& waiting : arrived) {
        if (waiting.phase == Phase::Head &&
            examine(waiting, waiting.connection->scanHead(), false, now)) {
            continue;
        }
        waiting_.push_back(std::move(waiting));
    }
}

void ConnectionHub::closeOverLimit() {
    while (open_ > limits_.maxConnections && !waiting_.empty()) {
        // Connections that are closing anyway go first, then the one waiting longest.
        const auto victim = std::min_element(
            waiting_.begin(), waiting_.end(), [](const Waiting& a, const Waiting& b) {
                const bool aClosing = a.phase == Phase::Closing;
                const bool bClosing = b.phase == Phase::Closing;
                return aClosing != bClosing ? aClosing : a.since < b.since;
            });
        if (victim->phase == Phase::Fresh || victim->phase == Phase::Head) {
            victim->connection->sendNow(closingAnswer(503, "too many connections are open"));
            LogLine::connectionEvent(victim->connection->peer(),
                                     "503 closed: " + std::to_string(open_.load()) +
                                         " connections are open (--max-connections) and this "
                                         "one waited longest for its request");
        }
        waiting_.erase(victim);
    }
}

bool ConnectionHub::readable(Waiting& waiting, Clock::time_point now) {
    if (waiting.phase == Phase::Closing) {
        char scratch[16 * 1024];
        for (int i = 0; i < 4; ++i) {
            const ssize_t n =
                ::recv(waiting.connection->fd(), scratch, sizeof scratch, MSG_DONTWAIT);
            if (n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
                return true;
            }
            if (n < 0) {
                break;
            }
            waiting.drained += static_cast<std::size_t>(n);
        }
        return waiting.drained > kLingerBytes;
    }
    const bool wasEmpty = waiting.connection->bufferedBytes() == 0;
    bool peerClosed = false;
    const auto result = waiting.connection->receiveHead(peerClosed);
    if (wasEmpty && waiting.connection->bufferedBytes() > 0) {
        waiting.connection->headStarted(now);
    }
    return examine(waiting, result, peerClosed, now);
}

bool ConnectionHub::examine(Waiting& waiting, HeadScanner::Result result, bool peerClosed,
                            Clock::time_point now) {
    switch (result) {
        case HeadScanner::Result::Complete:
            dispatch(std::move(waiting.connection));
            return true;
        case HeadScanner::Result::Partial:
            if (peerClosed) {
                return true;
            }
            if (waiting.phase == Phase::KeepAlive && waiting.connection->bufferedBytes() > 0) {
                // The next request has begun: its head gets the head's time from here.
                waiting.phase = Phase::Head;
                waiting.deadline = now + limits_.headTimeout;
            } else if (waiting.phase == Phase::Fresh && waiting.connection->bufferedBytes() > 0) {
                waiting.phase = Phase::Head;  // the time counts from the accepting
            }
            return false;
        default:
            refuseHead(waiting, result, now);
            return false;
    }
}

void ConnectionHub::refuseHead(Waiting& waiting, HeadScanner::Result result,
                               Clock::time_point now) {
    const auto& head = limits_.head;
    int status = 431;
    std::string message;
    switch (result) {
        case HeadScanner::Result::TooManyLines:
            message = "the request head has more than " + std::to_string(head.maxHeaderLines) +
                      " header lines";
            break;
        case HeadScanner::Result::LineTooLong:
            message =
                "a header line is longer than " + std::to_string(head.maxLineBytes) + " bytes";
            break;
        case HeadScanner::Result::RequestLineTooLong:
            status = 414;
            message =
                "the request line is longer than " + std::to_string(head.maxLineBytes) + " bytes";
            break;
        default:
            message = "the request head is larger than " + std::to_string(head.maxBytes) + " bytes";
            break;
    }
    ConnectionStream& connection = *waiting.connection;
    connection.sendNow(closingAnswer(status, message));
    LogLine::connectionEvent(connection.peer(), requestOf(connection.requestLine()) + " " +
                                                    std::to_string(status) + " closed: " + message);
    ::shutdown(connection.fd(), SHUT_WR);
    waiting.phase = Phase::Closing;
    waiting.deadline = now + limits_.lingerTimeout;
}

void ConnectionHub::expire(Waiting& waiting) {
    const ConnectionStream& connection = *waiting.connection;
    if (waiting.phase == Phase::Fresh || waiting.phase == Phase::Head) {
        LogLine::connectionEvent(
            connection.peer(),
            requestOf(connection.requestLine()) + " closed: no complete request head within " +
                describe(limits_.headTimeout) + " (" + std::to_string(connection.bufferedBytes()) +
                " bytes received; --head-timeout)");
    }
}

void ConnectionHub::dispatch(std::unique_ptr<ConnectionStream> connection) {
    {
        std::lock_guard lock(readyMutex_);
        ready_.push_back(std::move(connection));
    }
    readyChanged_.notify_one();
}

void ConnectionHub::work() {
    for (;;) {
        std::unique_ptr<ConnectionStream> connection;
        {
            std::unique_lock lock(readyMutex_);
            readyChanged_.wait(lock, [this] { return workersStop_ || !ready_.empty(); });
            if (ready_.empty()) {
                return;
            }
            connection = std::move(ready_.front());
            ready_.pop_front();
        }
        try {
            serve_(std::move(connection));
        } catch (const std::exception& e) {
            LogLine::write(std::string("vorna-backend: a connection failed: ") + e.what());
        }
    }
}

}  // namespace vorna::backend
