#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

#include <nlohmann/json.hpp>

namespace vorna::backend {

// The last requests that clients made, as they came over the wire, so that the tests of a
// client can check what it really sent.
class RequestJournal {
public:
    explicit RequestJournal(std::size_t capacity) : capacity_(capacity) {}

    // Stores the entry under the next sequence number ("seq"); the oldest entry goes when the
    // journal is full.
    void add(nlohmann::json entry);
    // Oldest first.
    nlohmann::json list() const;
    void clear();

private:
    const std::size_t capacity_;
    mutable std::mutex mutex_;
    std::deque<nlohmann::json> entries_;
    std::uint64_t nextSeq_ = 1;
};

}  // namespace vorna::backend
