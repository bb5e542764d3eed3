#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vorna {

// What became of a saved report.
enum class VRNDeliveryOutcome {
    Accepted,  // the backend has it; the kit has deleted its copy
    Dropped,   // the backend has archived the application; the kit deleted the report unsent
};

struct VRNDelivery {
    // The report's id in the kit's log lines ("removing job id …") and the name of its saved
    // file; empty for a report that could not be saved and was sent from memory.
    std::string reportId;
    VRNDeliveryOutcome outcome;
};

// Called on one of the kit's threads, one delivery at a time. Return quickly and do not wait
// for deliveries from inside it.
using VRNDeliveryObserver = std::function<void(const VRNDelivery&)>;

// Keeps a delivery observer registered while it lives; moving it moves the registration.
class VRNDeliveryObservation {
public:
    VRNDeliveryObservation() = default;
    explicit VRNDeliveryObservation(uint64_t token) : token_(token) {}
    ~VRNDeliveryObservation() { reset(); }
    VRNDeliveryObservation(VRNDeliveryObservation&& other) noexcept : token_(other.token_) {
        other.token_ = 0;
    }
    VRNDeliveryObservation& operator=(VRNDeliveryObservation&& other) noexcept {
        if (this != &other) {
            reset();
            token_ = other.token_;
            other.token_ = 0;
        }
        return *this;
    }
    VRNDeliveryObservation(const VRNDeliveryObservation&) = delete;
    VRNDeliveryObservation& operator=(const VRNDeliveryObservation&) = delete;

    bool active() const { return token_ != 0; }
    // Unregisters now; when this returns the observer is not running and will not be called.
    void reset();

private:
    uint64_t token_ = 0;
};

}  // namespace vorna
