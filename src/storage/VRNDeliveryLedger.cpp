#include "storage/VRNDeliveryLedger.h"

#include "storage/VRNFileManagerProtocol.h"

namespace vorna {

const std::shared_ptr<VRNDeliveryLedger>& VRNDeliveryLedger::shared() {
    // Never destroyed: observations held in a host's static objects may end after main returns.
    static auto* ledger = new std::shared_ptr<VRNDeliveryLedger>(std::make_shared<VRNDeliveryLedger>());
    return *ledger;
}

uint64_t VRNDeliveryLedger::addObserver(VRNDeliveryObserver observer) {
    std::lock_guard lock(tellMutex_);
    const uint64_t token = nextToken_++;
    if (observer) {
        observers_.emplace(token, std::move(observer));
    }
    return token;
}

void VRNDeliveryLedger::removeObserver(uint64_t token) {
    // A recursive mutex: an observer that ends its own observation does not wait for itself.
    std::lock_guard lock(tellMutex_);
    observers_.erase(token);
}

void VRNDeliveryLedger::reportAccepted(const std::string& reportId) {
    tell({reportId, VRNDeliveryOutcome::Accepted});
}

void VRNDeliveryLedger::reportDropped(const std::string& reportId) {
    {
        std::lock_guard lock(mutex_);
        ++dropped_;
    }
    tell({reportId, VRNDeliveryOutcome::Dropped});
}

void VRNDeliveryLedger::dropAllSaved(VRNFileManagerProtocol& store) {
    const auto dropped = store.savedReports();
    store.deleteAllLocalReportData();
    for (const auto& id : dropped) {
        reportDropped(id);
    }
}

void VRNDeliveryLedger::tell(const VRNDelivery& delivery) {
    {
        std::lock_guard lock(tellMutex_);
        // A copy: an observer may add or remove observers while it is called.
        const auto observers = observers_;
        for (const auto& [token, observer] : observers) {
            if (observers_.count(token) != 0) {
                observer(delivery);
            }
        }
    }
    changed();
}

void VRNDeliveryLedger::changed() {
    {
        std::lock_guard lock(mutex_);
        ++generation_;
    }
    changed_.notify_all();
}

uint64_t VRNDeliveryLedger::droppedCount() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

bool VRNDeliveryLedger::waitUntil(const std::function<bool()>& done,
                                  std::chrono::steady_clock::time_point deadline) {
    while (true) {
        uint64_t seen;
        {
            std::lock_guard lock(mutex_);
            seen = generation_;
        }
        // Asked outside the lock: it may look at the disk.
        if (done()) {
            return true;
        }
        std::unique_lock lock(mutex_);
        if (!changed_.wait_until(lock, deadline, [&] { return generation_ != seen; })) {
            lock.unlock();
            return done();
        }
    }
}

}  // namespace vorna
