#include "PostgresPool.h"

#include <utility>

#include "Store.h"

namespace vorna::backend::pg {

Pool::Lease::~Lease() {
    if (pool_ != nullptr) {
        pool_->giveBack(connection_);
    }
}

Pool::Pool(std::string url, std::size_t size, std::chrono::milliseconds borrowTimeout)
    : url_(std::move(url)), size_(size), borrowTimeout_(borrowTimeout) {}

Pool::Lease Pool::borrow() {
    std::vector<Connection> stale;  // closed after the lock is released
    std::unique_lock lock(mutex_);
    const auto deadline = std::chrono::steady_clock::now() + borrowTimeout_;
    for (;;) {
        while (!idle_.empty()) {
            Connection connection = std::move(idle_.back());
            idle_.pop_back();
            if (connection.stillIdle()) {
                return Lease(*this, std::move(connection));
            }
            // The server closed it while it waited (a restart): drop it, try the next.
            --open_;
            stale.push_back(std::move(connection));
        }
        if (open_ < size_) {
            break;
        }
        if (returned_.wait_until(lock, deadline) == std::cv_status::timeout && idle_.empty() &&
            open_ >= size_) {
            throw StoreUnavailable("all " + std::to_string(size_) +
                                   " PostgreSQL connections stayed busy");
        }
    }
    // Connecting takes a round trip or a time-out: not under the lock.
    ++open_;
    lock.unlock();
    try {
        return Lease(*this, Connection::open(url_));
    } catch (...) {
        lock.lock();
        --open_;
        returned_.notify_one();
        throw;
    }
}

void Pool::giveBack(std::optional<Connection>& connection) {
    const bool keep = connection && connection->usable();
    std::unique_lock lock(mutex_);
    if (keep) {
        idle_.push_back(std::move(*connection));
    } else {
        --open_;
    }
    lock.unlock();
    connection.reset();  // a broken one is closed outside the lock
    returned_.notify_one();
}

}  // namespace vorna::backend::pg
