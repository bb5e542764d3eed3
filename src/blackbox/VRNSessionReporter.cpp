#include "blackbox/VRNSessionReporter.h"

#include <chrono>

#include "state/VRNConstants.h"
#include "state/VRNDateProvider.h"

namespace vorna {
namespace {

constexpr const char* kStateForeground = "0";
constexpr const char* kStateResignActive = "1";
constexpr const char* kStateBackground = "2";

void record(VRNQueue& queue, const std::string& state) {
    // The date provider has one format; the one asked for here is ignored.
    auto timestamp = VRNDateProvider::sharedInstance()->stringFromDate(
        std::chrono::system_clock::now(), std::string());
    queue.push(std::make_shared<Record>(state, std::move(timestamp)));
}

}  // namespace

VRNSessionReporter::VRNSessionReporter(std::shared_ptr<VRNAppRepository> repository,
                                       VRNNotificationCenter& center)
    : repository_(repository ? std::move(repository) : VRNAppRepository::sharedInstance()),
      sessionQueue_(
          std::make_shared<VRNQueue>(static_cast<int32_t>(NUMBER_OF_SESSION_OBJECTS_TO_REPORT),
                                     kVRNSessionHistoryKey, repository_)),
      center_(center) {
    addObservers();
    reportState(kStateForeground);
}

std::shared_ptr<VRNSessionReporter> VRNSessionReporter::sharedInstance() {
    static const auto instance = std::make_shared<VRNSessionReporter>();
    return instance;
}

void VRNSessionReporter::addObservers() {
    // The observers hold the history itself, not the reporter, so a notification that is being
    // delivered while the reporter goes away still has a queue to write to.
    auto queue = sessionQueue_;
    observers_.push_back(
        center_.subscribe(VRNApplicationWillEnterForegroundNotification,
                          [queue](const VRNNotification&) { record(*queue, kStateForeground); }));
    observers_.push_back(
        center_.subscribe(VRNApplicationDidEnterBackgroundNotification,
                          [queue](const VRNNotification&) { record(*queue, kStateBackground); }));
    observers_.push_back(
        center_.subscribe(VRNApplicationWillResignActiveNotification,
                          [queue](const VRNNotification&) { record(*queue, kStateResignActive); }));
}

void VRNSessionReporter::appWillEnterForeground() {
    reportState(kStateForeground);
}
void VRNSessionReporter::appDidEnterBackground() {
    reportState(kStateBackground);
}
void VRNSessionReporter::appWillResignActive() {
    reportState(kStateResignActive);
}

void VRNSessionReporter::reportState(const std::string& state) {
    record(*sessionQueue_, state);
}

std::vector<RecordPtr> VRNSessionReporter::sessionHistory() const {
    std::vector<RecordPtr> history;
    auto data = repository_->getData(kVRNSessionHistoryKey);
    if (!data) {
        return history;
    }
    // Read without a class check, as it was written: only the kit writes under this key.
    auto value = VRNKeyedUnarchiver::unarchiveObjectWithData(*data);
    if (const auto* array = value ? value->array() : nullptr) {
        history.reserve(array->size());
        for (const auto& element : *array) {
            if (auto record = std::dynamic_pointer_cast<Record>(element.object())) {
                history.push_back(std::move(record));
            }
        }
    }
    return history;
}

}  // namespace vorna
