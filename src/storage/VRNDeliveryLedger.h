#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "vorna/VornaDelivery.h"

namespace vorna {

// Where the upload pipeline tells what became of each saved report, for the host's delivery
// observers and for threads waiting until nothing is left to send. Process-wide: the shared
// instance serves the host's calls; tests make their own.
class VRNFileManagerProtocol;

class VRNDeliveryLedger {
public:
    static const std::shared_ptr<VRNDeliveryLedger>& shared();

    uint64_t addObserver(VRNDeliveryObserver observer);
    // When it returns, the observer is not running (unless removed from inside itself) and is
    // not called again.
    void removeObserver(uint64_t token);

    // Told by the pipeline. Each wakes the waiters.
    void reportAccepted(const std::string& reportId);
    void reportDropped(const std::string& reportId);
    // Deletes every saved report of the store (the application is archived) and names each one
    // as dropped; the ids are listed first, since the store forgets them with the files.
    void dropAllSaved(VRNFileManagerProtocol& store);
    // Something else a waiter may be waiting for happened: a round ended, the kit was
    // authorized.
    void changed();

    // How many reports have been dropped so far; a waiter compares it before and after.
    uint64_t droppedCount() const;
    // Waits until `done` holds (it is asked under no lock, at the start and after each change),
    // or until the deadline. Returns whether `done` held.
    bool waitUntil(const std::function<bool()>& done, std::chrono::steady_clock::time_point deadline);

private:
    void tell(const VRNDelivery& delivery);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    uint64_t generation_ = 0;
    uint64_t dropped_ = 0;
    // Observers are called one delivery at a time, under tellMutex_, so that removing one can
    // wait for a call in progress.
    std::recursive_mutex tellMutex_;
    std::map<uint64_t, VRNDeliveryObserver> observers_;  // under tellMutex_
    uint64_t nextToken_ = 1;                             // under tellMutex_
};

}  // namespace vorna
