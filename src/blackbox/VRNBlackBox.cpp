#include "blackbox/VRNBlackBox.h"

#include <set>

#include "state/VRNConstants.h"
#include "vorna/VRNLog.h"

namespace vorna {

VRNBlackBox::VRNBlackBox(std::shared_ptr<VRNAppRepository> repository,
                         std::shared_ptr<VRNRunLoop> runLoop,
                         std::shared_ptr<VRNSamplerDevice> device)
    : runLoop_(std::move(runLoop)),
      device_(device ? std::move(device) : (initializeConstants(), userDevice)),
      repository_(repository ? std::move(repository) : VRNAppRepository::sharedInstance()) {
    initializeConstants();
}

VRNBlackBox::~VRNBlackBox() {
    std::lock_guard lock(mutex_);
    if (reportingTimerEveryHalfSecond_) {
        reportingTimerEveryHalfSecond_->invalidate();
    }
    if (reportingTimerEveryTwoSecond_) {
        reportingTimerEveryTwoSecond_->invalidate();
    }
}

std::shared_ptr<VRNBlackBox> VRNBlackBox::sharedInstance() {
    static const auto instance = std::make_shared<VRNBlackBox>();
    return instance;
}

void VRNBlackBox::initializeConstants() {
    VRNBlackBoxObject::registerArchiveClasses();
    initializeSamplerConstants();
}

std::shared_ptr<VRNRunLoop> VRNBlackBox::runLoop() const {
    return runLoop_ ? runLoop_ : VRNRunLoop::main();
}

VRNBlackBox::Queues VRNBlackBox::queues() const {
    std::lock_guard lock(mutex_);
    return queues_;
}

void VRNBlackBox::startRecording() {
    if (!isBlackBoxEnabled_) {
        return;
    }
    const auto repo = repository();
    // Each history continues from what is stored under its key, across launches.
    Queues fresh;
    fresh.cpu =
        std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT, kVRNCpuHistoryKey, repo);
    fresh.memory = std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT,
                                              kVRNMemoryHistoryKey, repo);
    fresh.storage = std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT,
                                               kVRNStorageHistoryKey, repo);
    fresh.battery = std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_TWO_SEC_REPORT,
                                               kVRNBatteryHistoryKey, repo);
    fresh.network = std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_TWO_SEC_REPORT,
                                               kVRNNetworkHistoryKey, repo);
    fresh.orientation = std::make_shared<VRNQueue>(NUMBER_OF_ELEMENTS_IN_TWO_SEC_REPORT,
                                                   kVRNOrientationHistoryKey, repo);
    {
        std::lock_guard lock(mutex_);
        queues_ = std::move(fresh);
    }
    const auto loop = runLoop();
    loop->post([weak = weak_from_this(), loop] {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        std::lock_guard lock(self->mutex_);
        // A timer that still runs is kept: starting twice does not sample twice as often.
        // The first samples come one period after the start.
        if (!self->reportingTimerEveryHalfSecond_ ||
            !self->reportingTimerEveryHalfSecond_->isValid()) {
            self->reportingTimerEveryHalfSecond_ = loop->scheduleTimer(0.5, true, [weak] {
                if (auto recorder = weak.lock()) {
                    recorder->reportDataEveryHalfSecond();
                }
            });
        }
        if (!self->reportingTimerEveryTwoSecond_ ||
            !self->reportingTimerEveryTwoSecond_->isValid()) {
            self->reportingTimerEveryTwoSecond_ = loop->scheduleTimer(2.0, true, [weak] {
                if (auto recorder = weak.lock()) {
                    recorder->reportDataEveryTwoSecond();
                }
            });
        }
    });
}

void VRNBlackBox::stopReporting() {
    {
        std::lock_guard lock(mutex_);
        queues_ = Queues{};
    }
    // Switching off erases the recorded history.
    if (const auto repo = repository()) {
        repo->removeObjectForKey(kVRNCpuHistoryKey);
        repo->removeObjectForKey(kVRNMemoryHistoryKey);
        repo->removeObjectForKey(kVRNBatteryHistoryKey);
        repo->removeObjectForKey(kVRNNetworkHistoryKey);
        repo->removeObjectForKey(kVRNStorageHistoryKey);
        repo->removeObjectForKey(kVRNOrientationHistoryKey);
    }
    // A tick that fires before this runs finds no histories and records nothing.
    runLoop()->post([weak = weak_from_this()] {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        std::lock_guard lock(self->mutex_);
        if (self->reportingTimerEveryHalfSecond_) {
            self->reportingTimerEveryHalfSecond_->invalidate();
            self->reportingTimerEveryHalfSecond_.reset();
        }
        if (self->reportingTimerEveryTwoSecond_) {
            self->reportingTimerEveryTwoSecond_->invalidate();
            self->reportingTimerEveryTwoSecond_.reset();
        }
    });
}

void VRNBlackBox::setBlackBoxEnabled(bool enabled) {
    if (isBlackBoxEnabled_.exchange(enabled) == enabled) {
        return;
    }
    if (enabled) {
        startRecording();
    } else {
        stopReporting();
    }
}

void VRNBlackBox::reportDataEveryHalfSecond() {
    const auto q = queues();
    if (q.cpu) {
        q.cpu->push(cpuUsage(*device_));
    }
    if (q.memory) {
        q.memory->push(memoryUsage(*device_));
    }
    if (q.storage) {
        q.storage->push(storageUsage(*device_));
    }
}

void VRNBlackBox::reportDataEveryTwoSecond() {
    const auto q = queues();
    if (q.battery) {
        q.battery->push(battery(*device_));
    }
    if (q.network) {
        q.network->push(network(*device_));
    }
    if (q.orientation) {
        q.orientation->push(orientation(*device_));
    }
}

std::optional<VRNBlackBox::History> VRNBlackBox::getDataSnapshotForKey(
    const std::string& key) const {
    const auto repo = repository();
    auto data = repo ? repo->getData(key) : std::nullopt;
    if (!data) {
        return std::nullopt;
    }
    // The stored copy is read, not the queue in memory: every push rewrites it at once.
    static const std::set<std::string> allowedClasses{
        "NSDictionary", "NSMutableDictionary", "NSData",           "NSMutableData", "NSString",
        "NSArray",      "NSMutableArray",      "VRNBlackBoxObject"};
    VRNErrorPtr error;
    auto value = VRNKeyedUnarchiver::unarchivedObjectOfClasses(allowedClasses, *data, &error);
    if (error) {
        VRNLog("VRNBlackBox: Failed to deserialize because of error %s",
               error->localizedDescription.c_str());
        return std::nullopt;
    }
    const auto* array = value ? value->array() : nullptr;
    if (array == nullptr) {
        return std::nullopt;
    }
    History history;
    history.reserve(array->size());
    for (const auto& element : *array) {
        if (auto object = std::dynamic_pointer_cast<VRNBlackBoxObject>(element.object())) {
            history.push_back(std::move(object));
        }
    }
    return history;
}

std::optional<VRNBlackBox::History> VRNBlackBox::cpuHistory() const {
    return getDataSnapshotForKey(kVRNCpuHistoryKey);
}
std::optional<VRNBlackBox::History> VRNBlackBox::memoryHistory() const {
    return getDataSnapshotForKey(kVRNMemoryHistoryKey);
}
std::optional<VRNBlackBox::History> VRNBlackBox::diskSpaceHistory() const {
    return getDataSnapshotForKey(kVRNStorageHistoryKey);
}
std::optional<VRNBlackBox::History> VRNBlackBox::batteryHistory() const {
    return getDataSnapshotForKey(kVRNBatteryHistoryKey);
}
std::optional<VRNBlackBox::History> VRNBlackBox::networkHistory() const {
    return getDataSnapshotForKey(kVRNNetworkHistoryKey);
}
std::optional<VRNBlackBox::History> VRNBlackBox::orientationHistory() const {
    return getDataSnapshotForKey(kVRNOrientationHistoryKey);
}

std::shared_ptr<VRNQueue> VRNBlackBox::cpuQueue() const {
    return queues().cpu;
}
std::shared_ptr<VRNQueue> VRNBlackBox::memoryQueue() const {
    return queues().memory;
}
std::shared_ptr<VRNQueue> VRNBlackBox::storageQueue() const {
    return queues().storage;
}
std::shared_ptr<VRNQueue> VRNBlackBox::batteryQueue() const {
    return queues().battery;
}
std::shared_ptr<VRNQueue> VRNBlackBox::networkQueue() const {
    return queues().network;
}
std::shared_ptr<VRNQueue> VRNBlackBox::orientationQueue() const {
    return queues().orientation;
}

std::shared_ptr<VRNAppRepository> VRNBlackBox::repository() const {
    std::lock_guard lock(mutex_);
    return repository_;
}

void VRNBlackBox::setRepository(std::shared_ptr<VRNAppRepository> repository) {
    std::lock_guard lock(mutex_);
    repository_ = std::move(repository);
}

bool VRNBlackBox::isHalfSecondTimerValid() const {
    std::lock_guard lock(mutex_);
    return reportingTimerEveryHalfSecond_ && reportingTimerEveryHalfSecond_->isValid();
}

bool VRNBlackBox::isTwoSecondTimerValid() const {
    std::lock_guard lock(mutex_);
    return reportingTimerEveryTwoSecond_ && reportingTimerEveryTwoSecond_->isValid();
}

}  // namespace vorna
