#include "RequestJournal.h"

namespace vorna::backend {

namespace {

// A json value's own size and its allocation's bookkeeping, about.
constexpr std::size_t kValueOverhead = 48;

}  // namespace

std::size_t RequestJournal::footprint(const nlohmann::json& entry) {
    std::size_t total = kValueOverhead;
    if (entry.is_string()) {
        total += entry.get_ref<const std::string&>().size();
    } else if (entry.is_object()) {
        for (const auto& [key, value] : entry.items()) {
            total += key.size() + kValueOverhead + footprint(value);
        }
    } else if (entry.is_array()) {
        for (const auto& value : entry) {
            total += footprint(value);
        }
    }
    return total;
}

void RequestJournal::add(nlohmann::json entry) {
    const std::size_t size = footprint(entry);
    std::lock_guard lock(mutex_);
    entry["seq"] = nextSeq_++;
    entries_.emplace_back(std::move(entry), size);
    bytes_ += size;
    // The newest entry stays even when it alone is over the bound.
    while (entries_.size() > 1 && (entries_.size() > maxEntries_ || bytes_ > maxBytes_)) {
        bytes_ -= entries_.front().second;
        entries_.pop_front();
    }
}

nlohmann::json RequestJournal::list() const {
    std::lock_guard lock(mutex_);
    nlohmann::json list = nlohmann::json::array();
    for (const auto& entry : entries_) {
        list.push_back(entry.first);
    }
    return list;
}

void RequestJournal::clear() {
    std::lock_guard lock(mutex_);
    entries_.clear();
    bytes_ = 0;
}

std::size_t RequestJournal::bytes() const {
    std::lock_guard lock(mutex_);
    return bytes_;
}

}  // namespace vorna::backend
