#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "blackbox/VRNBlackBoxObject.h"
#include "blackbox/VRNQueue.h"
#include "blackbox/VRNSamplers.h"
#include "platform/loop/VRNRunLoop.h"
#include "state/VRNAppRepository.h"

namespace vorna {

// The black box: the last minute of the device's condition. Every half second it samples CPU,
// memory and used storage, every two seconds battery, network and interface orientation, each
// into a persistent history of 120 or 30 elements (60 seconds each), so the history also covers
// the moments before a crash and restart. Reports read the histories through the accessors.
//
// The timers run on the main run loop, and with them the samplers and the pushes. Start and
// stop may be called from any thread: the histories are replaced on the caller's thread, while
// the timers are always made and ended on the run loop. Always owned by a std::shared_ptr (the
// timers hold it weakly).
class VRNBlackBox : public std::enable_shared_from_this<VRNBlackBox> {
public:
    using History = std::vector<VRNBlackBoxObjectPtr>;

    // None for the repository means the shared one; none for the run loop means the process's
    // main loop at the time of each use; none for the device means userDevice.
    explicit VRNBlackBox(std::shared_ptr<VRNAppRepository> repository = nullptr,
                         std::shared_ptr<VRNRunLoop> runLoop = nullptr,
                         std::shared_ptr<VRNSamplerDevice> device = nullptr);
    ~VRNBlackBox();
    VRNBlackBox(const VRNBlackBox&) = delete;
    VRNBlackBox& operator=(const VRNBlackBox&) = delete;

    static std::shared_ptr<VRNBlackBox> sharedInstance();
    // Prepares the samplers' device and word tables; done by the constructor.
    static void initializeConstants();

    // Loads the six histories from storage and starts the timers that are not already running.
    // Does nothing while the black box is switched off.
    void startRecording();
    // Drops the histories, erases them from storage, and ends the timers.
    void stopReporting();
    // Switches recording on or off; the same value as now does nothing.
    void setBlackBoxEnabled(bool enabled);
    bool isBlackBoxEnabled() const { return isBlackBoxEnabled_; }

    // The timer actions.
    void reportDataEveryHalfSecond();
    void reportDataEveryTwoSecond();

    // The stored histories, oldest first; nothing when none is stored or it cannot be read.
    std::optional<History> cpuHistory() const;
    std::optional<History> memoryHistory() const;
    std::optional<History> diskSpaceHistory() const;
    std::optional<History> batteryHistory() const;
    std::optional<History> networkHistory() const;
    std::optional<History> orientationHistory() const;
    // The shared reader behind them: only the element classes, strings, data and plain
    // collections are accepted.
    std::optional<History> getDataSnapshotForKey(const std::string& key) const;

    std::shared_ptr<VRNQueue> cpuQueue() const;
    std::shared_ptr<VRNQueue> memoryQueue() const;
    std::shared_ptr<VRNQueue> storageQueue() const;
    std::shared_ptr<VRNQueue> batteryQueue() const;
    std::shared_ptr<VRNQueue> networkQueue() const;
    std::shared_ptr<VRNQueue> orientationQueue() const;

    std::shared_ptr<VRNAppRepository> repository() const;
    void setRepository(std::shared_ptr<VRNAppRepository> repository);

    // Whether each timer is scheduled and valid (for diagnostics and tests).
    bool isHalfSecondTimerValid() const;
    bool isTwoSecondTimerValid() const;

private:
    struct Queues {
        std::shared_ptr<VRNQueue> cpu, memory, storage, battery, network, orientation;
    };

    std::shared_ptr<VRNRunLoop> runLoop() const;
    Queues queues() const;

    const std::shared_ptr<VRNRunLoop> runLoop_;
    const std::shared_ptr<VRNSamplerDevice> device_;
    std::atomic<bool> isBlackBoxEnabled_{true};
    mutable std::mutex mutex_;  // the fields below
    VRNTimerPtr reportingTimerEveryHalfSecond_;
    VRNTimerPtr reportingTimerEveryTwoSecond_;
    std::shared_ptr<VRNAppRepository> repository_;
    Queues queues_;
};

}  // namespace vorna
