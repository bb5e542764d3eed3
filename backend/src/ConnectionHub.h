#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ConnectionLimits.h"
#include "ConnectionStream.h"

namespace vorna::backend {

// Holds the server's connections. A connection that waits (for its first request, for its
// next one, or for the rest of a head that is on its way) waits here, on one thread that polls
// them all, and gets a worker only once a whole request head has arrived. So a client that
// trickles its head, or keeps connections open and idle, costs a socket and a small buffer,
// never a worker, and is closed when its deadline passes. When more connections are open than
// the limit, the one that has waited longest is closed.
class ConnectionHub {
public:
    using Serve = std::function<void(std::unique_ptr<ConnectionStream>)>;

    // serve runs on a worker for each connection with a whole head in its buffer; it hands the
    // connection back with park() or closeAfterLinger(), or lets it go to close it.
    ConnectionHub(const ConnectionLimits& limits, Serve serve);
    ~ConnectionHub();
    ConnectionHub(const ConnectionHub&) = delete;
    ConnectionHub& operator=(const ConnectionHub&) = delete;

    void start();
    // A socket that was just accepted.
    void adopt(int fd);
    // A connection whose request was answered: it waits for its next one.
    void park(std::unique_ptr<ConnectionStream> connection);
    // A connection that was answered and is to be closed: what the client still sends is
    // read and thrown away for a short while, so that it reads the answer rather than a reset.
    void closeAfterLinger(std::unique_ptr<ConnectionStream> connection);
    // Closes the waiting connections, lets the workers finish the requests they have, joins.
    void stop();
    bool stopping() const { return stopping_; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Fresh, Head, KeepAlive, Closing };
    struct Waiting {
        std::unique_ptr<ConnectionStream> connection;
        Phase phase;
        Clock::time_point since;
        Clock::time_point deadline;
        std::size_t drained = 0;  // bytes thrown away while closing
    };

    void hand(Waiting waiting);
    void watch();
    void takeInbox(Clock::time_point now);
    void closeOverLimit();
    // Each answers true when the connection leaves the waiting list.
    bool readable(Waiting& waiting, Clock::time_point now);
    bool examine(Waiting& waiting, HeadScanner::Result result, bool peerClosed,
                 Clock::time_point now);
    void refuseHead(Waiting& waiting, HeadScanner::Result result, Clock::time_point now);
    void expire(Waiting& waiting);
    void dispatch(std::unique_ptr<ConnectionStream> connection);
    void work();

    const ConnectionLimits limits_;
    const Serve serve_;
    std::atomic<std::size_t> open_{0};
    std::atomic<bool> stopping_{false};
    int wakeFd_ = -1;

    std::mutex inboxMutex_;
    std::vector<Waiting> inbox_;
    std::vector<Waiting> waiting_;  // the watcher's own

    std::mutex readyMutex_;
    std::condition_variable readyChanged_;
    std::deque<std::unique_ptr<ConnectionStream>> ready_;
    bool workersStop_ = false;

    std::mutex lifecycleMutex_;
    bool started_ = false;
    std::thread watcher_;
    std::vector<std::thread> workers_;
};

}  // namespace vorna::backend
