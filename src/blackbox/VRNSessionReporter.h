#pragma once

#include <memory>
#include <string>
#include <vector>

#include "blackbox/Record.h"
#include "blackbox/VRNQueue.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "state/VRNAppRepository.h"

namespace vorna {

// The last fifteen life-cycle changes of the host application, each a Record of a state code
// and its time: "0" start or return to the foreground, "1" losing the active state, "2" going
// to the background. Becoming active again is not recorded. The history spans launches and is
// never erased; the black box switch does not touch it.
class VRNSessionReporter {
public:
    // Reloads the stored history, observes the life-cycle notifications, and records "0".
    // None for the repository means the shared one.
    explicit VRNSessionReporter(
        std::shared_ptr<VRNAppRepository> repository = nullptr,
        VRNNotificationCenter& center = VRNNotificationCenter::defaultCenter());
    VRNSessionReporter(const VRNSessionReporter&) = delete;
    VRNSessionReporter& operator=(const VRNSessionReporter&) = delete;

    static std::shared_ptr<VRNSessionReporter> sharedInstance();

    void appWillEnterForeground();
    void appDidEnterBackground();
    void appWillResignActive();
    void reportState(const std::string& state);

    // The stored history, oldest first; empty (never nothing) when none is stored.
    std::vector<RecordPtr> sessionHistory() const;

    const std::shared_ptr<VRNQueue>& sessionQueue() const { return sessionQueue_; }
    const std::shared_ptr<VRNAppRepository>& repository() const { return repository_; }

private:
    void addObservers();

    const std::shared_ptr<VRNAppRepository> repository_;
    const std::shared_ptr<VRNQueue> sessionQueue_;
    VRNNotificationCenter& center_;
    std::vector<VRNNotificationCenter::Subscription> observers_;
};

}  // namespace vorna
