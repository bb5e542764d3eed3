#include "platform/loop/VRNNotificationCenter.h"

#include <algorithm>

namespace vorna {

VRNNotificationCenter& VRNNotificationCenter::defaultCenter() {
    static VRNNotificationCenter center;
    return center;
}

VRNNotificationCenter::Token VRNNotificationCenter::addObserver(const std::string& name,
                                                                Observer observer) {
    std::lock_guard lock(mutex_);
    const Token token = nextToken_++;
    entries_.push_back(Entry{token, name, std::make_shared<Observer>(std::move(observer)),
                             std::make_shared<bool>(true)});
    return token;
}

void VRNNotificationCenter::removeObserver(Token token) {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&](const Entry& e) { return e.token == token; });
    if (it != entries_.end()) {
        *it->alive = false;
        entries_.erase(it);
    }
}

VRNNotificationCenter::Subscription VRNNotificationCenter::subscribe(const std::string& name,
                                                                     Observer observer) {
    return Subscription(*this, addObserver(name, std::move(observer)));
}

void VRNNotificationCenter::post(const std::string& name, const void* object) {
    std::vector<Entry> matching;
    {
        std::lock_guard lock(mutex_);
        for (const auto& entry : entries_) {
            if (entry.name.empty() || entry.name == name) {
                matching.push_back(entry);
            }
        }
    }
    const VRNNotification notification{name, object};
    for (const auto& entry : matching) {
        {
            std::lock_guard lock(mutex_);
            if (!*entry.alive) {
                continue;
            }
        }
        (*entry.observer)(notification);
    }
}

}  // namespace vorna
