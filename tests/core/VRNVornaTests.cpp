#include <gtest/gtest.h>

#include "api/VRNAPIAuthResponse.h"
#include "connectivity/VRNConnection.h"
#include "core/VRNDefaultCollaborators.h"
#include "core/VRNStarter.h"
#include "flow/VRNCoordinator.h"
#include "invocation/VornaInvocationManager.h"
#include "platform/storage/VRNBundle.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManagerProtocol.h"
#include "support/CountingStore.h"
#include "support/FakeAPI.h"
#include "support/FakeReachability.h"
#include "support/KitGlobals.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "theme/VRNBranding.h"
#include "core/VRNVornaInstance.h"

namespace vorna {
namespace {

using test::FakeAPI;
using test::FakeReachability;

class VRNVornaTest : public testing::Test {
protected:
    void SetUp() override {
        test::resetKitGlobals();
        VRNBundle::setMainBundle(std::make_shared<VRNBundle>(nlohmann::json{
            {"CFBundleIdentifier", "com.example.host"},
            {"Vorna", {{"APIClientID", "client-1"}, {"APIClientSecret", "s3cret"}}}}));
        store = std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite");
        repository = std::make_shared<VRNAppRepository>(store);
        connection = std::make_shared<VRNConnection>(std::make_unique<FakeReachability>(network),
                                                     loop, center);
        VRNVornaInstance::Dependencies deps;
        deps.api = api;
        deps.appRepository = repository;
        deps.connection = connection;
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.makeFileManager = [this] { return reportStore; };
        deps.makeCoordinator = [this](VRNCoordinatorContext context) {
            return makeCoordinator ? makeCoordinator(std::move(context)) : nullptr;
        };
        vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
        vorna->setStarter(std::make_shared<VRNStarter>(api));
    }
    void TearDown() override {
        vorna.reset();
        connection.reset();
        VRNBundle::setMainBundle(nullptr);
        test::resetKitGlobals();
    }

    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<FakeReachability::Shared> network =
        std::make_shared<FakeReachability::Shared>();
    std::shared_ptr<FakeAPI> api = std::make_shared<FakeAPI>();
    std::shared_ptr<test::CountingStore> reportStore = std::make_shared<test::CountingStore>();
    std::shared_ptr<VRNKeyValueStore> store;
    std::shared_ptr<VRNAppRepository> repository;
    std::shared_ptr<VRNConnection> connection;
    std::shared_ptr<VRNVornaInstance> vorna;
    VRNVornaInstance::CoordinatorFactory makeCoordinator;
};

TEST_F(VRNVornaTest, FailedAuthorizationRetriesAfterDoublingDelays) {
    vorna->authorizeVorna();
    ASSERT_EQ(api->authCount(), 1u);
    EXPECT_EQ(api->authCredentials[0].first, "client-1");
    EXPECT_EQ(api->authCredentials[0].second, "s3cret");
    EXPECT_TRUE(log.contains("API Client Key: client-1"));
    EXPECT_TRUE(log.contains("API Secret Key: s3cret"));

    for (int expectedDelay : {10, 20, 40, 80}) {
        api->failAuth();
        EXPECT_TRUE(log.contains("VRNVorna - Will retry authorization after " +
                                 std::to_string(expectedDelay)));
        EXPECT_TRUE(reauthorizationPending);
        const size_t before = api->authCount();
        loop->advance(expectedDelay - 0.001);
        EXPECT_EQ(api->authCount(), before) << "retried before " << expectedDelay << " s";
        loop->advance(0.001);
        EXPECT_EQ(api->authCount(), before + 1) << "no retry at " << expectedDelay << " s";
        EXPECT_FALSE(reauthorizationPending);
    }
    EXPECT_EQ(log.count("VRNVorna - Retrying authorization"), 4u);
    EXPECT_FALSE(repository->clientAuthorized());
}

TEST_F(VRNVornaTest, FailureWhileRetryPendingSchedulesNothingMore) {
    vorna->authorizeVorna();
    vorna->authorizeVorna();  // a second request in flight, e.g. a foreground entry
    api->failAuth();
    api->failAuth();
    loop->drain();
    EXPECT_EQ(log.count("VRNVorna - Will retry authorization after 10"), 1u);
    EXPECT_FALSE(log.contains("VRNVorna - Will retry authorization after 20"));
    loop->advance(10);
    EXPECT_EQ(api->authCount(), 3u);
    loop->advance(1000);
    EXPECT_EQ(api->authCount(), 3u);
}

TEST_F(VRNVornaTest, SuccessRegistersThenChecksEnabledAndKeepsTheDelay) {
    vorna->authorizeVorna();
    api->failAuth();
    loop->advance(10);
    api->answerAuth(std::make_shared<VRNAPIAuthResponse>("token"));
    EXPECT_TRUE(repository->clientAuthorized());
    EXPECT_TRUE(log.contains("Authentication succeeded"));
    EXPECT_TRUE(log.contains("VRNAppRepository - Setting client authorized -> True"));
    // Registration is asked before the enabled check, both for the host's bundle as "iOS".
    const std::vector<std::string> expected{"authenticate", "authenticate", "register", "enabled"};
    EXPECT_EQ(api->calls, expected);
    ASSERT_EQ(api->registerCalls.size(), 1u);
    EXPECT_EQ(api->registerCalls[0].bundleId, "com.example.host");
    EXPECT_EQ(api->registerCalls[0].operatingSystem, "iOS");
    EXPECT_EQ(api->registerCalls[0].platform, "iOS");
    ASSERT_EQ(api->enabledCalls.size(), 1u);
    EXPECT_EQ(api->enabledCalls[0].bundleId, "com.example.host");
    // A later failure continues from the last doubled delay.
    EXPECT_EQ(delay, 10);
    vorna->authorizeVorna();
    api->failAuth();
    EXPECT_TRUE(log.contains("VRNVorna - Will retry authorization after 20"));
}

TEST_F(VRNVornaTest, EnabledAnswerFalseArchivesAndDeletesReports) {
    vorna->determineEnabled();
    ASSERT_EQ(api->enabledCalls.size(), 1u);
    api->enabledCalls[0].completion(std::nullopt);  // request failed: nothing changes
    EXPECT_TRUE(repository->applicationActive());
    EXPECT_FALSE(store->value("ketrano.applicationActiveKey").has_value());
    EXPECT_EQ(reportStore->deleteAllCalls, 0);

    vorna->determineEnabled();
    api->enabledCalls[1].completion(false);
    EXPECT_FALSE(repository->applicationActive());
    EXPECT_TRUE(log.contains("VRNAppRepository - Setting application active -> False"));
    EXPECT_TRUE(log.contains("VRNVorna: Application is archived."));
    EXPECT_EQ(reportStore->deleteAllCalls, 1);

    vorna->determineEnabled();
    api->enabledCalls[2].completion(true);
    EXPECT_TRUE(repository->applicationActive());
    EXPECT_EQ(reportStore->deleteAllCalls, 1);
}

TEST_F(VRNVornaTest, OfflineFailureParksARetryThatRunsWhenTheNetworkReturns) {
    FakeReachability::set(network, 0u);
    vorna->authorizeVorna();
    api->failAuth();
    loop->drain();
    EXPECT_EQ(connection->pendingKeys(), std::vector<std::string>{"VRNVornaretryAuthorization"});
    EXPECT_TRUE(monitoring);

    // A change that still leaves no connectivity runs nothing.
    FakeReachability::change(network, 0u);
    loop->drain();
    EXPECT_EQ(api->authCount(), 1u);

    FakeReachability::change(network, kVRNReachabilityReachable);
    loop->advance(1);
    EXPECT_TRUE(log.contains("VRNVorna - Retrying authorization after regained connection"));
    EXPECT_EQ(api->authCount(), 2u);
    EXPECT_EQ(delay, 5);
    EXPECT_FALSE(reauthorizationPending);
    EXPECT_TRUE(connection->pendingKeys().empty());
    // The timer was cancelled: no second authorization at 10 s.
    loop->advance(100);
    EXPECT_EQ(api->authCount(), 2u);
}

TEST_F(VRNVornaTest, TimerFiringFirstLeavesOneParkedBlockReplacedByTheNextFailure) {
    FakeReachability::set(network, 0u);
    vorna->authorizeVorna();
    api->failAuth();
    loop->advance(10);
    EXPECT_EQ(api->authCount(), 2u);
    api->failAuth();
    loop->drain();
    EXPECT_EQ(connection->pendingKeys().size(), 1u);
    EXPECT_TRUE(log.contains("VRNVorna - Will retry authorization after 20"));
}

TEST_F(VRNVornaTest, BackgroundCancelsOnlyAnUnauthorizedPendingRetry) {
    // Nothing pending: nothing to cancel.
    center.post(VRNApplicationDidEnterBackgroundNotification);
    vorna->addObservers();
    center.post(VRNApplicationDidEnterBackgroundNotification);
    EXPECT_FALSE(log.contains("VRNVorna - Entering background, cancel reauthorization actions"));

    FakeReachability::set(network, 0u);
    vorna->authorizeVorna();
    api->failAuth();
    loop->drain();
    center.post(VRNApplicationDidEnterBackgroundNotification);
    EXPECT_TRUE(log.contains("VRNVorna - Entering background, cancel reauthorization actions"));
    EXPECT_TRUE(log.contains("VRNConnection - Canceling all global pending blocks"));
    EXPECT_FALSE(reauthorizationPending);
    EXPECT_EQ(delay, 5);
    EXPECT_TRUE(connection->pendingKeys().empty());
    EXPECT_FALSE(monitoring);
    loop->advance(1000);
    EXPECT_EQ(api->authCount(), 1u);

    // Foreground authorizes again while unauthorized; the next failure waits 10 s again.
    center.post(VRNApplicationWillEnterForegroundNotification);
    EXPECT_TRUE(log.contains("VRNVorna - Starting reauth after entering foreground"));
    EXPECT_EQ(api->authCount(), 2u);
    api->failAuth();
    EXPECT_EQ(log.count("VRNVorna - Will retry authorization after 10"), 2u);
}

TEST_F(VRNVornaTest, AuthorizedAppIgnoresForegroundAndBackground) {
    vorna->addObservers();
    vorna->authorizeVorna();
    api->answerAuth(std::make_shared<VRNAPIAuthResponse>("token"));
    center.post(VRNApplicationWillEnterForegroundNotification);
    center.post(VRNApplicationDidEnterBackgroundNotification);
    EXPECT_EQ(api->authCount(), 1u);
    EXPECT_FALSE(log.contains("VRNVorna - Starting reauth after entering foreground"));
}

TEST_F(VRNVornaTest, NoStarterCancelsAuthorization) {
    vorna->setStarter(nullptr);
    vorna->authorizeVorna();
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"VRNVorna - Started authorization procces",
                                                     "VRNVorna - Starter not set, canceling "
                                                     "authorization"}));
    EXPECT_EQ(api->authCount(), 0u);
}

TEST_F(VRNVornaTest, MissingCredentialsStillAskAndEnterTheRetryCycle) {
    VRNBundle::setMainBundle(
        std::make_shared<VRNBundle>(nlohmann::json{{"CFBundleIdentifier", "com.example.host"}}));
    vorna->authorizeVorna();
    ASSERT_EQ(api->authCount(), 1u);
    EXPECT_FALSE(api->authCredentials[0].first.has_value());
    EXPECT_FALSE(api->authCredentials[0].second.has_value());
    api->failAuth();
    EXPECT_TRUE(log.contains("VRNVorna - Will retry authorization after 10"));
}

TEST_F(VRNVornaTest, DisplayWithoutAFlowOpensNothingAndArchivedAutoReportSendsNothing) {
    vorna->display();
    EXPECT_EQ(vorna->coordinator(), nullptr);
    repository->setApplicationActive(false);
    log.clear();
    vorna->performAutoReport(false, std::string("ignored"));
    EXPECT_TRUE(log.lines().empty());
}

class CountingCoordinator : public VRNCoordinatorProtocol {
public:
    void start() override {
        ++starts;
        if (finishAtOnce && finish) {
            finish();
        }
    }
    void setOnCoordinatorFinish(std::function<void()> onFinish) override {
        finish = std::move(onFinish);
    }
    int starts = 0;
    bool finishAtOnce = false;
    std::function<void()> finish;
};

TEST_F(VRNVornaTest, DisplayBuildsOneFlowAtATimeEachWithAFreshBranding) {
    EXPECT_EQ(vorna->branding(), nullptr);
    std::vector<std::shared_ptr<CountingCoordinator>> made;
    std::vector<VRNCoordinatorContext> contexts;
    makeCoordinator = [&](VRNCoordinatorContext context) {
        contexts.push_back(context);
        made.push_back(std::make_shared<CountingCoordinator>());
        return made.back();
    };
    const auto hook = [](std::shared_ptr<VRNVornaReportData> data) { return data; };
    vorna->setOnPrepareData(hook);
    vorna->display();
    ASSERT_EQ(contexts.size(), 1u);
    EXPECT_EQ(contexts[0].appRepository, repository);
    EXPECT_TRUE(contexts[0].onPrepareData);
    const auto firstLook = vorna->branding();
    ASSERT_NE(firstLook, nullptr);
    // The flow asks for its look when it builds a screen: the one the facade holds then.
    EXPECT_EQ(contexts[0].branding(), firstLook);
    firstLook->setSlogan(std::string("changed by a screen"));
    vorna->display();
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0]->starts, 1);

    // The coordinator calls its finish from its own completion: it is let go of only after
    // that callback has returned.
    made[0]->finish();
    EXPECT_EQ(vorna->coordinator(), made[0]);
    loop->drain();
    EXPECT_EQ(vorna->coordinator(), nullptr);
    vorna->display();
    EXPECT_EQ(made.size(), 2u);
    // The second flow is drawn with the built-in look again, not what the first one changed.
    ASSERT_NE(vorna->branding(), firstLook);
    EXPECT_EQ(vorna->branding()->slogan(), VRNBranding().slogan());

    // A late second finish of the first flow does not let go of the second.
    made[0]->finish();
    loop->drain();
    EXPECT_EQ(vorna->coordinator(), made[1]);
}

TEST_F(VRNVornaTest, AFlowThatEndsAsItStartsLetsTheNextInvocationOpenAnother) {
    int made = 0;
    makeCoordinator = [&](VRNCoordinatorContext) {
        ++made;
        auto coordinator = std::make_shared<CountingCoordinator>();
        coordinator->finishAtOnce = true;
        return coordinator;
    };
    vorna->display();
    loop->drain();
    EXPECT_EQ(vorna->coordinator(), nullptr);
    vorna->display();
    EXPECT_EQ(made, 2);
}

TEST_F(VRNVornaTest, ASecondStartKeepsOneSetOfInvocationsAndObserversButAuthorizesAgain) {
    struct Windows : VRNInvocationPlatform {
        void setupFloatingButtonWindow(std::function<void()>) override { ++buttons; }
        void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler>) override { ++pans; }
        int buttons = 0;
        int pans = 0;
    };
    const auto hostLoop = VRNRunLoop::main();
    VRNRunLoop::setMain(loop);
    // The black box a start begins samples into the test's defaults, or not at all.
    VRNKeyValueStore::setStandard(store);
    VRNSetBlackBoxEnabled(false);
    const auto windows = std::make_shared<Windows>();
    VornaInvocationManager::setPlatform(windows);
    const auto events = VornaInvocationEventFloatingButton | VornaInvocationEventRightEdgePan;

    vorna->performStart(events);
    vorna->performStart(events);
    loop->drain();
    EXPECT_EQ(windows->buttons, 1);
    EXPECT_EQ(windows->pans, 1);
    EXPECT_EQ(log.count("VRNVorna - Started again: the invocations of the first start stay as "
                        "they were set up (a new set of events changes only the shake gesture); "
                        "authorizing again"),
              1u);
    EXPECT_EQ(api->authCount(), 2u);

    // One foreground entry, one authorization.
    center.post(VRNApplicationWillEnterForegroundNotification);
    EXPECT_EQ(api->authCount(), 3u);

    VornaInvocationManager::setPlatform(nullptr);
    VRNRunLoop::setMain(hostLoop);
    VRNKeyValueStore::setStandard(nullptr);
}

}  // namespace
}  // namespace vorna
