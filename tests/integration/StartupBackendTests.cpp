// The facade's start-up against the real reference backend on loopback: token, registration,
// enabled check, the archived answer and the retry after a failed token request.
#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <thread>

#include "api/VRNAPI.h"
#include "connectivity/VRNConnection.h"
#include "core/VRNStarter.h"
#include "platform/storage/VRNBundle.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManagerProtocol.h"
#include "support/BackendProcess.h"
#include "support/CountingStore.h"
#include "support/FakeReachability.h"
#include "support/KitGlobals.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "core/VRNVornaInstance.h"

namespace vorna {
namespace {

constexpr const char* kBundleId = "org.vorna.tests.startup";

class StartupAgainstBackend : public testing::Test {
protected:
    void SetUp() override {
        test::resetKitGlobals();
        VRNBundle::setMainBundle(std::make_shared<VRNBundle>(nlohmann::json{
            {"CFBundleIdentifier", kBundleId},
            {"Vorna",
             {{"APIClientID", "startup-client"}, {"APIClientSecret", "startup-secret"}}}}));
    }
    void TearDown() override {
        vorna.reset();
        api.reset();
        VRNBundle::setMainBundle(nullptr);
        test::resetKitGlobals();
    }
    void makeKit() {
        api = std::make_shared<VRNAPI>(backend.baseUrl(), loop);
        VRNVornaInstance::Dependencies deps;
        deps.api = api;
        deps.appRepository = repository;
        deps.connection = std::make_shared<VRNConnection>(
            std::make_unique<test::FakeReachability>(network), loop, center);
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.makeFileManager = [this] { return reportStore; };
        vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
        vorna->setStarter(std::make_shared<VRNStarter>(api));
    }
    bool sawEnabledAnswer() {
        return log.contains("VRNAppRepository - Setting application active -> True") ||
               log.contains("VRNAppRepository - Setting application active -> False");
    }

    test::BackendProcess backend{VORNA_BACKEND_BINARY, "startup-client", "startup-secret"};
    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<test::FakeReachability::Shared> network =
        std::make_shared<test::FakeReachability::Shared>();
    std::shared_ptr<test::CountingStore> reportStore = std::make_shared<test::CountingStore>();
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<VRNAPI> api;
    std::shared_ptr<VRNVornaInstance> vorna;
};

TEST_F(StartupAgainstBackend, AuthorizesRegistersThenChecksTheApplication) {
    makeKit();
    vorna->authorizeVorna();
    ASSERT_TRUE(loop->drainUntil([&] {
        return sawEnabledAnswer() && log.contains("VRNAPI - Success creating application");
    }));
    EXPECT_TRUE(repository->clientAuthorized());
    EXPECT_TRUE(repository->applicationActive());

    // On the wire: registration and the enabled check for the host's bundle. They travel at the
    // same time on two connections, so the backend may see either first, and it may still be
    // writing the second into its journal when the kit has read both answers.
    std::set<std::string> bodies;
    for (int attempt = 0; attempt < 1000 && bodies.size() < 2; ++attempt) {
        if (attempt > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        bodies.clear();
        for (const auto& request : backend.requests()) {
            if (request.value("path", "") == "/api/1.0/issue_tracking/apps") {
                bodies.insert(nlohmann::json::parse(request.value("body", "")).dump());
            }
        }
    }
    const std::set<std::string> expected{
        nlohmann::json{{"bundle_id", kBundleId}, {"os", "iOS"}, {"platform", "iOS"}}.dump(),
        nlohmann::json{
            {"bundle_id", kBundleId}, {"check_archived", true}, {"os", "iOS"}, {"platform", "iOS"}}
            .dump()};
    EXPECT_EQ(bodies, expected);
}

TEST_F(StartupAgainstBackend, ArchivedApplicationIsMarkedInactiveAndItsReportsDeleted) {
    backend.archive(kBundleId);
    makeKit();
    vorna->authorizeVorna();
    ASSERT_TRUE(loop->drainUntil([&] { return sawEnabledAnswer(); }));
    EXPECT_FALSE(repository->applicationActive());
    EXPECT_TRUE(log.contains("VRNAPI - Application enabled request returned status code 404"));
    EXPECT_TRUE(log.contains("VRNVorna: Application is archived."));
    EXPECT_EQ(reportStore->deleteAllCalls, 1);
}

TEST_F(StartupAgainstBackend, FailedTokenRequestRetriesAfterTenVirtualSeconds) {
    backend.injectFault("auth/oauth2/token", 1, test::BackendFault::withStatus(500, "{}"));
    makeKit();
    vorna->authorizeVorna();
    ASSERT_TRUE(loop->drainUntil(
        [&] { return log.contains("VRNVorna - Will retry authorization after 10"); }));
    // The line is written on the HTTP thread; the timer is created on the loop after it.
    ASSERT_TRUE(loop->drainUntil([&] { return loop->hasPendingTimers(); }));
    EXPECT_FALSE(repository->clientAuthorized());
    loop->advance(10);
    ASSERT_TRUE(loop->drainUntil([&] { return sawEnabledAnswer(); }));
    EXPECT_TRUE(repository->clientAuthorized());
    EXPECT_EQ(log.count("VRNVorna - Retrying authorization"), 1u);
}

}  // namespace
}  // namespace vorna
