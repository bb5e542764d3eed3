#include "RequestJournal.h"

namespace vorna::backend {

void RequestJournal::add(nlohmann::json entry) {
    std::lock_guard lock(mutex_);
    entry["seq"] = nextSeq_++;
    entries_.push_back(std::move(entry));
    while (entries_.size() > capacity_) {
        entries_.pop_front();
    }
}

nlohmann::json RequestJournal::list() const {
    std::lock_guard lock(mutex_);
    nlohmann::json list = nlohmann::json::array();
    for (const auto& entry : entries_) {
        list.push_back(entry);
    }
    return list;
}

void RequestJournal::clear() {
    std::lock_guard lock(mutex_);
    entries_.clear();
}

}  // namespace vorna::backend
