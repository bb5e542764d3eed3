#pragma once

#include <chrono>
#include <cstddef>

#include "HeadScanner.h"

namespace vorna::backend {

// What one client may cost the server: how much of a request head is held, how long a
// connection may take over its head, let its body stall or sit idle between requests, and how
// many connections and workers there are.
struct ConnectionLimits {
    HeadScanner::Limits head;
    // From the connection's first byte (or its accepting) to the head's blank line.
    std::chrono::milliseconds headTimeout{10'000};
    // The longest pause in a body being received or an answer being taken.
    std::chrono::milliseconds idleTimeout{30'000};
    // The longest wait for the next request on a kept-alive connection.
    std::chrono::milliseconds keepAliveTimeout{30'000};
    // How long the rest of a refused request is read and thrown away after the answer, so
    // that the client reads the answer instead of a connection reset.
    std::chrono::milliseconds lingerTimeout{2'000};
    // Connections held open at once, waiting or being served. httplib answers 500 to a socket
    // numbered FD_SETSIZE (1024) or above, so this stays well below it.
    std::size_t maxConnections = 512;
    // Requests are served on these threads; connections between requests wait without one.
    std::size_t workers = 32;
};

}  // namespace vorna::backend
