#pragma once

#include <cxxabi.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <source_location>
#include <string>
#include <typeinfo>
#include <vector>

#include "connectivity/VRNReachability.h"
#include "platform/loop/VRNNotificationCenter.h"

namespace vorna {

class VRNRunLoop;

inline constexpr const char* VRNReachabilityChangedNotification = "VRNReachabilityChanged";

// Answers whether the device can reach the internet at all, and holds work that needs the
// network until it can. Parked work is keyed by the calling class and method, found from the
// call site itself, so a caller that asks again replaces its earlier block instead of piling
// up copies.
class VRNConnection {
public:
    VRNConnection(std::unique_ptr<VRNReachability> reachability,
                  std::shared_ptr<VRNRunLoop> runLoop, VRNNotificationCenter& center);
    ~VRNConnection();
    VRNConnection(const VRNConnection&) = delete;
    VRNConnection& operator=(const VRNConnection&) = delete;

    static std::shared_ptr<VRNConnection> sharedInstance();

    bool hasConnectivity();
    void startMonitoring();
    void stopMonitoring();

    // With connectivity the block runs at once on the calling thread; without, it is parked
    // under the caller's class and method and runs on the run loop when connectivity returns.
    void performWhenConnected(std::function<void()> block,
                              std::source_location caller = std::source_location::current());

    // The same for a call site that acts for another class and parks its block under that
    // class's key; `functionName` is written as the compiler writes a method's name,
    // e.g. "void vorna::VRNVorna::retryAuthorization()".
    void performWhenConnectedAs(std::function<void()> block, const char* functionName) {
        parkOrRun(std::move(block), functionName);
    }

    // Drops the parked blocks whose key contains the class name.
    void cancelPendingBlocksForClassName(const std::string& className);
    template <class T>
    void cancelPendingBlocksForInstance(const T& instance) {
        cancelPendingBlocksForClassName(className(typeid(instance)));
    }
    void cancelGlobalPendingBlocks();
    void reachabilityChanged(const VRNNotification& notification);

    // Keys of the parked blocks (for diagnostics and tests).
    std::vector<std::string> pendingKeys();

    enum class CallerFailure { None, CouldNotDetermine, Incomplete };
    // The key of a call site: its class name directly followed by its method name, e.g.
    // "VRNVornaretryAuthorization". A call site with no class (a free function) cannot be
    // determined; one whose class or method name is empty is incomplete.
    static std::optional<std::string> callerKey(const char* functionName, CallerFailure* failure);
    // The unqualified class name of a type, e.g. "VRNVorna" for vorna::VRNVorna.
    static std::string className(const std::type_info& type);

private:
    void parkOrRun(std::function<void()> block, const char* functionName);

    std::unique_ptr<VRNReachability> networkReachability_;
    std::shared_ptr<VRNRunLoop> runLoop_;
    VRNNotificationCenter& center_;
    std::map<std::string, std::function<void()>> blocksDictionary_;
    std::mutex arrayLock_;
    // Last: its observer reaches the members above.
    VRNNotificationCenter::Subscription observer_;
};

}  // namespace vorna
