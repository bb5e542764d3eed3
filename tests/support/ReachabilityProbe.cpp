// Watches reachability inside whatever network namespace it is started in, adds a default
// route, and reports what the connectivity monitor saw. The tests start it in a namespace of
// its own (unshare --net), where routes can change without touching the machine's.
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>

#include "connectivity/VRNConnection.h"
#include "platform/loop/VRNThreadRunLoop.h"
#include "vorna/VRNLog.h"

namespace vorna {

class VRNReachabilityProbe {
public:
    explicit VRNReachabilityProbe(VRNConnection& c) : connection(c) {}
    void waitForNetwork(std::function<void()> block) {
        connection.performWhenConnected(std::move(block));
    }
    VRNConnection& connection;
};

}  // namespace vorna

int main() {
    using namespace vorna;
    VRNSetLogSink([](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); });
    auto loop = std::make_shared<VRNThreadRunLoop>("probe-loop");
    VRNNotificationCenter center;
    // Made and let go of on the probe's loop's side of things: reachability changes are
    // delivered on the loop, so the connection goes there too, after the last of them.
    auto owned = std::make_unique<VRNConnection>(VRNMakeLinuxReachability(), loop, center);
    VRNConnection& connection = *owned;
    std::promise<bool> changed;
    std::promise<bool> ran;
    bool changedSet = false;
    center.addObserver(VRNReachabilityChangedNotification, [&](const VRNNotification&) {
        if (!changedSet) {
            changedSet = true;
            changed.set_value(loop->isCurrent());
        }
    });
    std::printf("before %d\n", connection.hasConnectivity() ? 1 : 0);
    VRNReachabilityProbe probe(connection);
    probe.waitForNetwork([&] { ran.set_value(loop->isCurrent()); });
    std::printf("parked %zu\n", connection.pendingKeys().size());
    std::fflush(stdout);
    if (std::system("ip link set lo up && ip route add default dev lo") != 0) {
        std::printf("route-failed\n");
        return 3;
    }
    auto changedFuture = changed.get_future();
    auto ranFuture = ran.get_future();
    if (changedFuture.wait_for(std::chrono::seconds(10)) != std::future_status::ready ||
        ranFuture.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        std::printf("no-change\n");
        return 4;
    }
    std::printf("changed-on-loop %d\n", changedFuture.get() ? 1 : 0);
    std::printf("ran-on-loop %d\n", ranFuture.get() ? 1 : 0);
    std::printf("after %d\n", connection.hasConnectivity() ? 1 : 0);
    connection.cancelGlobalPendingBlocks();
    loop->runSync([&owned] { owned.reset(); });
    return 0;
}
