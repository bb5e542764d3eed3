// Reports without screens through the facade against the real reference backend: authorization
// creates the uploader, which sends what an earlier run left in the store; an auto-report is
// gathered, passed through the host's hook, saved and delivered with the white-pixel screenshot.
#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <set>

#include "api/VRNAPI.h"
#include "connectivity/VRNConnection.h"
#include "core/VRNStarter.h"
#include "platform/storage/VRNBundle.h"
#include "platform/VRNImage.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNDeliveryLedger.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "support/BackendProcess.h"
#include "support/FakeReachability.h"
#include "support/KitGlobals.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "core/VRNVornaInstance.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

constexpr const char* kBundleId = "org.vorna.tests.autoreport";

class AutoReportAgainstBackend : public testing::Test {
protected:
    void SetUp() override {
        test::resetKitGlobals();
        VRNBundle::setMainBundle(std::make_shared<VRNBundle>(nlohmann::json{
            {"CFBundleIdentifier", kBundleId},
            {"CFBundleShortVersionString", "3.1"},
            {"CFBundleVersion", "310"},
            {"DTPlatformBuild", "linux"},
            {"Vorna", {{"APIClientID", "auto-client"}, {"APIClientSecret", "s3"}}}}));
        VRNSandbox::setDirectory(dir / "sandbox");

        api = std::make_shared<VRNAPI>(backend.baseUrl(), loop);
        VRNVornaInstance::Dependencies deps;
        deps.api = api;
        deps.appRepository = repository;
        deps.connection = std::make_shared<VRNConnection>(
            std::make_unique<test::FakeReachability>(network), loop, center);
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.ledger = ledger;
        deps.makeFileManager = [this] { return store; };
        deps.makeUploader = [this](std::shared_ptr<VRNFileManagerProtocol> fileManager,
                                   std::shared_ptr<VRNAPIProtocol> client) {
            VRNUploader::Dependencies uploaderDeps;
            uploaderDeps.runLoop = loop;
            uploaderDeps.notificationCenter = &center;
            uploaderDeps.appRepository = repository;
            uploaderDeps.ledger = ledger;
            uploader = VRNUploader::initWithFileManager(std::move(fileManager), std::move(client),
                                                        uploaderDeps);
            return uploader;
        };
        kit = std::make_shared<VRNVornaInstance>(std::move(deps));
        kit->setStarter(std::make_shared<VRNStarter>(api));
    }
    void TearDown() override {
        if (uploader) {
            uploader->waitUntilIdle();
        }
        kit.reset();
        uploader.reset();
        api.reset();
        VRNSandbox::setDirectory({});
        VRNBundle::setMainBundle(nullptr);
        test::resetKitGlobals();
    }
    // Waits for delivery on another thread, the way a host does, while this thread runs the
    // kit's main loop.
    bool waitForDelivery(std::chrono::milliseconds timeout, const std::function<void()>& meanwhile = {}) {
        auto waited = std::async(std::launch::async,
                                 [this, timeout] { return kit->performWaitForDelivery(timeout); });
        if (meanwhile) {
            meanwhile();
        }
        loop->drainUntil([&] {
            return waited.wait_for(std::chrono::milliseconds(0)) == std::future_status::ready;
        });
        return waited.get();
    }
    void saveLeftover(const std::string& description) {
        auto leftover = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        leftover->setGatheredDataDict(VRNGatheredDataDict{{kVRNUserInput, description}});
        leftover->setScreenshotFile(std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"),
                                                                   VRNEmptyScreenshotJPEG()));
        ASSERT_TRUE(store->saveDataForReportData(leftover));
    }

    bool delivered(size_t count) {
        return loop->drainUntil([&] {
            return backend.reports().size() == count && store->savedReports().empty() &&
                   log.count("VRNUploader: All upload operations completed succesfully") > 0;
        });
    }

    test::BackendProcess backend{VORNA_BACKEND_BINARY, "auto-client", "s3"};
    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<test::FakeReachability::Shared> network =
        std::make_shared<test::FakeReachability::Shared>();
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<VRNFileManager> store = std::make_shared<VRNFileManager>(dir / "Documents");
    std::shared_ptr<VRNDeliveryLedger> ledger = std::make_shared<VRNDeliveryLedger>();
    std::shared_ptr<VRNAPI> api;
    std::shared_ptr<VRNUploader> uploader;
    std::shared_ptr<VRNVornaInstance> kit;
};

TEST_F(AutoReportAgainstBackend, AuthorizationSendsLeftoversThenAnAutoReportArrivesWhole) {
    auto leftover = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    leftover->setGatheredDataDict(
        VRNGatheredDataDict{{kVRNUserInput, std::string("left from yesterday")}});
    leftover->setScreenshotFile(
        std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"), VRNEmptyScreenshotJPEG()));
    ASSERT_TRUE(store->saveDataForReportData(leftover));

    kit->authorizeVorna();
    ASSERT_TRUE(delivered(1)) << "the uploader made after authorization sends earlier reports";
    EXPECT_EQ(backend.reports()[0]["description"], "left from yesterday");

    std::ofstream(dir / "notes.txt") << "host notes";
    kit->setOnPrepareData([this](std::shared_ptr<VRNVornaReportData> data) {
        data->setQuickFacts("nightly build 310");
        VRNVornaReportData::Files files;
        for (const char* name : {"notes.txt", "missing.txt"}) {
            // An unreadable path gives no file, so only the notes are attached.
            if (auto file = VRNVornaFile::initWithFileURL(dir / name)) {
                files.push_back(file);
            }
        }
        data->setAttachedFiles(files);
        return data;
    });
    log.clear();
    kit->performAutoReport(false, std::string("Nightly job failed"));
    ASSERT_TRUE(delivered(2));

    const auto received = backend.reports()[0];  // newest first
    const auto& document = received["document"];
    EXPECT_EQ(document["description"], "Nightly job failed");
    EXPECT_EQ(document["title"], "Nightly job failed");
    EXPECT_EQ(document["quick_facts"], "nightly build 310");
    EXPECT_EQ(document["app_version"], "3.1");
    EXPECT_EQ(document["report_type"], "manual");
    EXPECT_EQ(document["platform"], "iOS");
    EXPECT_EQ(document["os"], "iOS");
    EXPECT_TRUE(document["battery_status"].is_string());
    EXPECT_TRUE(document["battery_level"].is_string());
    EXPECT_TRUE(document["available_disk_space"].is_string());
    EXPECT_TRUE(document["used_disk_space"].is_number());
    EXPECT_TRUE(document["available_memory"].is_number());
    ASSERT_TRUE(document["authentication"].is_number_integer());
    EXPECT_TRUE(document["authentication"] == 0 || document["authentication"] == 1);
    EXPECT_FALSE(document.contains("permissions")) << "a headless host is granted nothing";
    EXPECT_TRUE(document["blackbox"].is_object());
    ASSERT_EQ(document["files"].size(), 1u);
    EXPECT_TRUE(document["files"][0]["url"].get<std::string>().ends_with("/notes.txt"));

    // The screenshot of a report without screens is the white pixel, as JPEG.
    const std::string screenshotUrl = document["screenshot_url"];
    ASSERT_TRUE(screenshotUrl.ends_with("/emptyScreenshot.jpg")) << screenshotUrl;
    const auto answer = backend.request("GET", screenshotUrl.substr(screenshotUrl.find("/files/")));
    ASSERT_EQ(answer.status, 200);
    const VRNData white = VRNEmptyScreenshotJPEG();
    EXPECT_EQ(VRNData(answer.body.begin(), answer.body.end()), white);
    ASSERT_GE(white.size(), 4u);
    EXPECT_EQ(white[0], 0xFF);
    EXPECT_EQ(white[1], 0xD8);
}

TEST_F(AutoReportAgainstBackend, AReportMadeBeforeAuthorizationWaitsOnDiskForIt) {
    repository->setClientAuthorized(false);
    kit->performAutoReport(false, std::string("before the token"));
    ASSERT_TRUE(loop->drainUntil([&] {
        return log.contains("VRNUploader - Will not start upload, client is not authorized");
    }));
    uploader->waitUntilIdle();
    EXPECT_EQ(store->savedReports().size(), 1u);
    EXPECT_TRUE(backend.reports().empty());

    // The next round after authorization (here: the return to the foreground) sends it.
    kit->authorizeVorna();
    ASSERT_TRUE(loop->drainUntil([&] { return repository->clientAuthorized(); }));
    center.post(VRNApplicationWillEnterForegroundNotification);
    ASSERT_TRUE(delivered(1));
    EXPECT_EQ(backend.reports()[0]["description"], "before the token");
}

TEST_F(AutoReportAgainstBackend, WaitingGetsReportsMadeBeforeAuthorizationOutAndNamesEachOne) {
    std::mutex mutex;
    std::vector<VRNDelivery> deliveries;
    const auto token = ledger->addObserver([&](const VRNDelivery& delivery) {
        std::lock_guard lock(mutex);
        deliveries.push_back(delivery);
    });
    repository->setClientAuthorized(false);
    for (const char* text : {"one", "two", "three"}) {
        kit->performAutoReport(false, std::string(text));
    }
    ASSERT_TRUE(loop->drainUntil([&] {
        return log.count("VRNUploader - Will not start upload, client is not authorized") == 3;
    }));
    EXPECT_FALSE(kit->performWaitForDelivery(std::chrono::milliseconds(0)))
        << "a zero time-out only looks, and three reports wait";
    EXPECT_FALSE(kit->performWaitForDelivery(std::chrono::milliseconds(-5)));

    // Without the wait they would stay until the next start, foreground or report.
    EXPECT_TRUE(waitForDelivery(std::chrono::seconds(20), [&] { kit->authorizeVorna(); }));
    EXPECT_EQ(backend.reports().size(), 3u);
    EXPECT_TRUE(store->savedReports().empty());
    ledger->removeObserver(token);
    std::lock_guard lock(mutex);
    ASSERT_EQ(deliveries.size(), 3u);
    std::set<std::string> ids;
    for (const auto& delivery : deliveries) {
        EXPECT_EQ(delivery.outcome, VRNDeliveryOutcome::Accepted);
        EXPECT_TRUE(log.contains("VRNUploader: Uploaded succesfully, removing job id " +
                                 delivery.reportId));
        ids.insert(delivery.reportId);
    }
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_TRUE(kit->performWaitForDelivery(std::chrono::milliseconds(0)))
        << "nothing is left to wait for";
}

TEST_F(AutoReportAgainstBackend, AnArchivedApplicationDropsEachSavedReportAndTheWaitSaysSo) {
    kit->authorizeVorna();
    ASSERT_TRUE(loop->drainUntil([&] { return log.contains("VRNUploader: No saved offline jobs"); }));
    backend.archive(kBundleId);
    saveLeftover("first");
    saveLeftover("second");
    const auto saved = store->savedReports();

    std::mutex mutex;
    std::vector<VRNDelivery> deliveries;
    const auto token = ledger->addObserver([&](const VRNDelivery& delivery) {
        std::lock_guard lock(mutex);
        deliveries.push_back(delivery);
    });
    EXPECT_FALSE(waitForDelivery(std::chrono::seconds(20)));
    ledger->removeObserver(token);
    EXPECT_TRUE(backend.reports().empty());
    EXPECT_TRUE(store->savedReports().empty());
    std::lock_guard lock(mutex);
    ASSERT_EQ(deliveries.size(), 2u) << "each report is named once, though both uploads fail";
    std::set<std::string> dropped;
    for (const auto& delivery : deliveries) {
        EXPECT_EQ(delivery.outcome, VRNDeliveryOutcome::Dropped);
        dropped.insert(delivery.reportId);
    }
    EXPECT_EQ(dropped, std::set<std::string>(saved.begin(), saved.end()));
}

}  // namespace
}  // namespace vorna
