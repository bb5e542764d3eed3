#include "blackbox/VRNQueue.h"

#include <exception>

#include "blackbox/VRNBlackBoxObject.h"
#include "vorna/VRNLog.h"

namespace vorna {

VRNQueue::VRNQueue(int32_t capacity, std::string key, std::shared_ptr<VRNAppRepository> repository)
    : numberOfElements_(capacity > 0 ? capacity : 1),
      repository_(repository ? std::move(repository) : VRNAppRepository::sharedInstance()),
      key_(std::move(key)) {
    VRNBlackBoxObject::registerArchiveClasses();
    // Whatever was stored is taken as it is: a longer list than the capacity is not trimmed,
    // and a blob that is not an archived list leaves the history empty.
    if (auto data = repository_->getData(key_)) {
        if (auto stored = VRNKeyedUnarchiver::unarchiveObjectWithData(*data)) {
            if (auto array = stored->array()) {
                queue_ = *array;
                return;
            }
        }
    }
    queue_.reserve(static_cast<size_t>(numberOfElements_));
}

void VRNQueue::push(VRNCodingPtr object) {
    if (object) {
        push(VRNArchiveValue(std::move(object)));
    }
}

void VRNQueue::push(const VRNArchiveValue& object) {
    if (object.isNull() ||
        (std::holds_alternative<VRNCodingPtr>(object.value) && !object.object())) {
        return;
    }
    std::lock_guard lock(lock_);
    // Only on exact equality, and only one: a longer list read back from storage keeps growing.
    if (queue_.size() == static_cast<size_t>(numberOfElements_)) {
        queue_.erase(queue_.begin());
    }
    queue_.push_back(object);
    // The list is lent to the archive and taken back, rather than copied at every push.
    VRNArchiveValue root(std::move(queue_));
    auto data = archiveDataWithObject(root);
    queue_ = std::move(std::get<VRNArchiveValue::Array>(root.value));
    if (data && repository_) {
        repository_->setData(std::move(*data), key_);
    }
}

std::optional<VRNData> VRNQueue::archiveDataWithObject(const VRNArchiveValue& object) {
    std::optional<VRNData> data;
    try {
        data = VRNKeyedArchiver::archivedDataWithRootObject(object);
    } catch (const std::exception& error) {
        VRNLog("VRNQueue: Error serializing data: %s, key -> %s", error.what(), key().c_str());
    }
    if (!data) {
        VRNLog("VRNQueue: Error archiving data, key -> %s", key().c_str());
        return std::nullopt;
    }
    return data;
}

VRNArchiveValue::Array VRNQueue::queue() const {
    std::lock_guard lock(lock_);
    return queue_;
}

std::shared_ptr<VRNAppRepository> VRNQueue::repository() const {
    std::lock_guard lock(lock_);
    return repository_;
}

void VRNQueue::setRepository(std::shared_ptr<VRNAppRepository> repository) {
    std::lock_guard lock(lock_);
    repository_ = std::move(repository);
}

std::string VRNQueue::key() const {
    std::lock_guard lock(lock_);
    return key_;
}

void VRNQueue::setKey(std::string key) {
    std::lock_guard lock(lock_);
    key_ = std::move(key);
}

}  // namespace vorna
