#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>

#include <nlohmann/json.hpp>

namespace vorna::backend {

// The last requests that clients made, as they came over the wire, so that the tests of a
// client can check what it really sent. Bounded in entries and in bytes: the oldest entries go
// first, so a flood of large requests costs no more than the byte bound.
class RequestJournal {
public:
    RequestJournal(std::size_t maxEntries, std::size_t maxBytes)
        : maxEntries_(maxEntries), maxBytes_(maxBytes) {}

    // Stores the entry under the next sequence number ("seq").
    void add(nlohmann::json entry);
    // Oldest first.
    nlohmann::json list() const;
    void clear();
    // What the entries held take in memory, about.
    std::size_t bytes() const;

    // About what an entry takes in memory: its text and a little for each value.
    static std::size_t footprint(const nlohmann::json& entry);

private:
    const std::size_t maxEntries_;
    const std::size_t maxBytes_;
    mutable std::mutex mutex_;
    std::deque<std::pair<nlohmann::json, std::size_t>> entries_;
    std::size_t bytes_ = 0;
    std::uint64_t nextSeq_ = 1;
};

}  // namespace vorna::backend
