#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PostgresConnection.h"

namespace vorna::backend::pg {

// A few connections to one database, shared by the request threads: a thread borrows one for a
// statement or a transaction and gives it back. Connections are opened when first needed and
// dropped when the server went away, so the pool heals by itself once the server is back; a
// thread that finds no server meets StoreUnavailable at once rather than waiting for it.
class Pool {
public:
    // One borrowed connection, given back when the lease goes (or dropped if it broke).
    class Lease {
    public:
        Lease(Pool& pool, Connection connection)
            : pool_(&pool), connection_(std::move(connection)) {}
        ~Lease();
        Lease(Lease&& other) noexcept
            : pool_(std::exchange(other.pool_, nullptr)),
              connection_(std::move(other.connection_)) {}
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        Lease& operator=(Lease&&) = delete;

        Connection& operator*() { return *connection_; }
        Connection* operator->() { return &*connection_; }

    private:
        Pool* pool_;
        std::optional<Connection> connection_;
    };

    Pool(std::string url, std::size_t size, std::chrono::milliseconds borrowTimeout);

    // A usable connection: an idle one, or a new one while fewer than `size` are open. Throws
    // StoreUnavailable when the server cannot be reached, or when every connection stayed
    // busy for the borrow time-out (a server that stopped answering holds them all).
    Lease borrow();

private:
    void giveBack(std::optional<Connection>& connection);

    const std::string url_;
    const std::size_t size_;
    const std::chrono::milliseconds borrowTimeout_;

    std::mutex mutex_;
    std::condition_variable returned_;
    std::vector<Connection> idle_;
    std::size_t open_ = 0;  // idle and borrowed, and those being opened
};

}  // namespace vorna::backend::pg
