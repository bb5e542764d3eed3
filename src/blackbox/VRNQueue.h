#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/storage/VRNKeyedArchive.h"
#include "state/VRNAppRepository.h"

namespace vorna {

// A history of fixed capacity that survives restarts: pushing beyond the capacity drops the
// oldest element, and every push stores the whole list, oldest first, as one keyed archive
// under the queue's key in the host's defaults. A new queue over a key starts with what was
// stored there.
class VRNQueue {
public:
    // initWithCapacity:key:. A capacity of 0 or less holds one element. None for the repository
    // means the shared one.
    VRNQueue(int32_t capacity, std::string key,
             std::shared_ptr<VRNAppRepository> repository = nullptr);

    // Appends the object; an empty object is ignored. Safe from any thread.
    void push(const VRNArchiveValue& object);
    void push(VRNCodingPtr object);

    // The keyed-archive data of the object, or nothing after logging why.
    std::optional<VRNData> archiveDataWithObject(const VRNArchiveValue& object);

    // The elements, oldest first, as they are at the moment of the call.
    VRNArchiveValue::Array queue() const;
    int32_t numberOfElements() const { return numberOfElements_; }

    std::shared_ptr<VRNAppRepository> repository() const;
    void setRepository(std::shared_ptr<VRNAppRepository> repository);
    std::string key() const;
    void setKey(std::string key);

private:
    const int32_t numberOfElements_;
    VRNArchiveValue::Array queue_;
    std::shared_ptr<VRNAppRepository> repository_;
    std::string key_;
    mutable std::recursive_mutex lock_;
};

}  // namespace vorna
