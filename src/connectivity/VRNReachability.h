#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vorna {

class VRNRunLoop;

// Reachability flags, with the values the kit's connectivity rule is written against.
enum VRNReachabilityFlags : uint32_t {
    kVRNReachabilityTransientConnection = 1,
    kVRNReachabilityReachable = 2,
    kVRNReachabilityConnectionRequired = 4,
    kVRNReachabilityConnectionOnTraffic = 8,
    kVRNReachabilityInterventionRequired = 16,
    kVRNReachabilityConnectionOnDemand = 32,
    kVRNReachabilityIsWWAN = 0x40000,
};

// Watches the route to "any address": whether the device has a usable way out at all.
class VRNReachability {
public:
    virtual ~VRNReachability() = default;
    // The current flags, or nothing when they cannot be read.
    virtual std::optional<uint32_t> flags() = 0;
    // Installs (or, with an empty function, removes) the callback for changes. False when the
    // source cannot deliver changes.
    virtual bool setCallback(std::function<void()> callback) = 0;
    // Delivers the callback on this loop from now on; unschedule() stops the deliveries.
    virtual bool scheduleWithRunLoop(std::shared_ptr<VRNRunLoop> loop) = 0;
    virtual void unscheduleFromRunLoop() = 0;
};

// Linux: a default route (IPv4 or IPv6) that is up and not a reject route means reachable;
// changes come from an rtnetlink socket watched by a small thread of its own and are delivered
// on the run loop. A default route through a mobile broadband interface (wwan*, rmnet*, ppp*)
// is reported as cellular.
std::unique_ptr<VRNReachability> VRNMakeLinuxReachability();

}  // namespace vorna
