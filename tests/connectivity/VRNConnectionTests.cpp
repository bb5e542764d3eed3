#include <gtest/gtest.h>

#include "connectivity/VRNConnection.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNConstants.h"
#include "support/FakeReachability.h"
#include "support/LogCapture.h"

namespace vorna {

// Callers as the kit has them: a class and a method that park work.
class VRNRetryingCaller {
public:
    explicit VRNRetryingCaller(VRNConnection& c) : connection(c) {}
    void retryAuthorization(std::function<void()> block) {
        connection.performWhenConnected(std::move(block));
    }
    void sendLater(std::function<void()> block) {
        connection.performWhenConnected(std::move(block));
    }
    VRNConnection& connection;
};

class VRNRetryingCallerExtended {
public:
    explicit VRNRetryingCallerExtended(VRNConnection& c) : connection(c) {}
    void go(std::function<void()> block) { connection.performWhenConnected(std::move(block)); }
    VRNConnection& connection;
};

void parkFromFreeFunction(VRNConnection& connection, std::function<void()> block) {
    connection.performWhenConnected(std::move(block));
}

namespace {

using test::FakeReachability;

class Connection : public testing::Test {
protected:
    void SetUp() override { monitoring = false; }
    void TearDown() override { monitoring = false; }

    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<FakeReachability::Shared> network =
        std::make_shared<FakeReachability::Shared>();
    VRNConnection connection{std::make_unique<FakeReachability>(network), loop, center};
    VRNRetryingCaller caller{connection};
    test::LogCapture log;
};

TEST_F(Connection, ConnectivityRuleFollowsTheFlags) {
    const std::vector<std::pair<std::optional<uint32_t>, bool>> cases{
        {std::nullopt, false},
        {0u, false},
        {kVRNReachabilityConnectionRequired, false},
        {kVRNReachabilityReachable, true},
        {kVRNReachabilityReachable | kVRNReachabilityTransientConnection, true},
        {kVRNReachabilityReachable | kVRNReachabilityConnectionRequired, false},
        {kVRNReachabilityReachable | kVRNReachabilityConnectionRequired | kVRNReachabilityIsWWAN,
         true},
        {kVRNReachabilityReachable | kVRNReachabilityConnectionRequired |
             kVRNReachabilityConnectionOnTraffic,
         true},
        {kVRNReachabilityReachable | kVRNReachabilityConnectionRequired |
             kVRNReachabilityConnectionOnDemand,
         true},
        {kVRNReachabilityReachable | kVRNReachabilityConnectionRequired |
             kVRNReachabilityConnectionOnDemand | kVRNReachabilityInterventionRequired,
         false},
    };
    for (const auto& [flags, expected] : cases) {
        FakeReachability::set(network, flags);
        EXPECT_EQ(connection.hasConnectivity(), expected) << "flags " << flags.value_or(999);
    }
    VRNConnection withoutHandle(nullptr, loop, center);
    EXPECT_FALSE(withoutHandle.hasConnectivity());
}

TEST_F(Connection, ConnectedRunsAtOnceAndParksNothing) {
    bool ran = false;
    caller.retryAuthorization([&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_TRUE(connection.pendingKeys().empty());
    EXPECT_FALSE(monitoring);
    EXPECT_TRUE(log.contains("VRNConnection - Performing block immediately as we are connected"));
}

TEST_F(Connection, OfflineParksPerCallerReplacingAndRunsOnlyOnConnected) {
    FakeReachability::set(network, 0u);
    std::vector<std::string> ran;
    caller.retryAuthorization([&] { ran.push_back("first"); });
    caller.retryAuthorization([&] { ran.push_back("second"); });
    caller.sendLater([&] { ran.push_back("other method"); });
    EXPECT_EQ(connection.pendingKeys(),
              (std::vector<std::string>{"VRNRetryingCallerretryAuthorization",
                                        "VRNRetryingCallersendLater"}));
    EXPECT_TRUE(monitoring);
    EXPECT_EQ(network->schedules, 1);

    FakeReachability::change(network, 0u);
    loop->drain();
    EXPECT_TRUE(ran.empty());
    EXPECT_EQ(connection.pendingKeys().size(), 2u);

    FakeReachability::change(network, kVRNReachabilityReachable);
    loop->drain();
    std::sort(ran.begin(), ran.end());
    EXPECT_EQ(ran, (std::vector<std::string>{"other method", "second"}));
    EXPECT_TRUE(connection.pendingKeys().empty());
    EXPECT_TRUE(monitoring) << "monitoring goes on after the blocks ran";
}

TEST_F(Connection, CancellingByClassUsesASubstringTestAndGlobalCancelStopsMonitoring) {
    FakeReachability::set(network, 0u);
    VRNRetryingCallerExtended extended{connection};
    caller.retryAuthorization([] {});
    extended.go([] {});
    connection.cancelPendingBlocksForInstance(caller);
    EXPECT_TRUE(log.contains(
        "VRNConnection - Canceling pending blocks scheduled from VRNRetryingCaller class"));
    // "VRNRetryingCaller" is the beginning of "VRNRetryingCallerExtended": both go.
    EXPECT_TRUE(connection.pendingKeys().empty());
    EXPECT_TRUE(monitoring);

    caller.retryAuthorization([] { FAIL() << "cancelled block ran"; });
    connection.cancelGlobalPendingBlocks();
    EXPECT_TRUE(log.contains("VRNConnection - Canceling all global pending blocks"));
    EXPECT_FALSE(monitoring);
    EXPECT_TRUE(connection.pendingKeys().empty());
    FakeReachability::change(network, kVRNReachabilityReachable);
    loop->drain();
}

TEST_F(Connection, CallersWithoutAClassOrMethodAreDroppedWithTheirLines) {
    FakeReachability::set(network, 0u);
    bool ran = false;
    parkFromFreeFunction(connection, [&] { ran = true; });
    EXPECT_TRUE(
        log.contains("VRNConnection - Could not determine the caller of the "
                     "performWhenConnected method, returning"));
    EXPECT_TRUE(connection.pendingKeys().empty());

    VRNConnection::CallerFailure failure;
    EXPECT_FALSE(VRNConnection::callerKey("void ::run()", &failure));
    EXPECT_EQ(failure, VRNConnection::CallerFailure::Incomplete);
    EXPECT_FALSE(VRNConnection::callerKey("main", &failure));
    EXPECT_EQ(failure, VRNConnection::CallerFailure::CouldNotDetermine);
    EXPECT_EQ(VRNConnection::callerKey("void vorna::VRNVorna::retryAuthorization()", &failure),
              "VRNVornaretryAuthorization");
    EXPECT_EQ(
        VRNConnection::callerKey("vorna::VRNVorna::retryAuthorization()::<lambda()>", &failure),
        "VRNVornaretryAuthorization");
    EXPECT_EQ(VRNConnection::callerKey(
                  "std::optional<int> ns::Queue<T>::push(const T&) [with T = std::pair<int, int>]",
                  &failure),
              "Queuepush");
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace vorna
