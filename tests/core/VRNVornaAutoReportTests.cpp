// Reports made from code and the start-up sequence, on a facade instance with the test's own
// collaborators: a backend client that records its calls, an uploader that keeps what it gets
// (or the real one over a store in memory), a virtual main loop.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "api/VRNAPIAuthResponse.h"
#include "connectivity/VRNConnection.h"
#include "core/VRNDefaultCollaborators.h"
#include "core/VRNUIPlatform.h"
#include "core/VRNVornaInstance.h"
#include "invocation/VornaInvocationManager.h"
#include "platform/VRNImage.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "platform/storage/VRNBundle.h"
#include "report/VRNAPIReport.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNUploader.h"
#include "support/FakeAPI.h"
#include "support/FakeReachability.h"
#include "support/KitGlobals.h"
#include "support/LogCapture.h"
#include "support/MemoryStore.h"
#include "support/TempDir.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

// Keeps every report handed over, in order.
struct KeepingUploader : VRNUploaderProtocol {
    void uploadData(std::shared_ptr<VRNVornaReportData> reportData) override {
        received.push_back(std::move(reportData));
    }
    std::vector<std::shared_ptr<VRNVornaReportData>> received;
};

// A toolkit that can take a picture of the application, and counts how often it is asked.
struct PictureToolkit : VRNUIPlatform {
    std::optional<VRNData> captureScreenshot() override {
        ++captures;
        return VRNData{0xff, 0xd8, 0x01, 0x02};
    }
    int captures = 0;
};

std::optional<VRNGatheredValue> userInput(const VRNVornaReportData& data) {
    const auto& dict = data.gatheredDataDict();
    if (!dict) {
        return std::nullopt;
    }
    const auto found = dict->find(kVRNUserInput);
    return found == dict->end() ? std::nullopt : std::optional(found->second);
}

class VRNVornaAutoReportTest : public testing::Test {
protected:
    void SetUp() override {
        test::resetKitGlobals();
        VRNBundle::setMainBundle(std::make_shared<VRNBundle>(nlohmann::json{
            {"CFBundleIdentifier", "com.example.host"},
            {"Vorna", {{"APIClientID", "client-1"}, {"APIClientSecret", "s3cret"}}}}));
        store = std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite");
        repository = std::make_shared<VRNAppRepository>(store);
        VRNVornaInstance::Dependencies deps;
        deps.api = api;
        deps.appRepository = repository;
        deps.connection = std::make_shared<VRNConnection>(
            std::make_unique<test::FakeReachability>(network), loop, center);
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.makeFileManager = [this] { return reports; };
        deps.makeUploader = [this](std::shared_ptr<VRNFileManagerProtocol> fileManager,
                                   std::shared_ptr<VRNAPIProtocol> client) {
            {
                std::lock_guard lock(api->mutex);
                api->calls.push_back("uploader");
            }
            return makeUploader ? makeUploader(std::move(fileManager), std::move(client))
                                : std::static_pointer_cast<VRNUploaderProtocol>(keeping);
        };
        deps.makeCoordinator = [](VRNCoordinatorContext) { return nullptr; };
        vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
    }
    void TearDown() override {
        if (realUploader) {
            std::atomic<bool> idle{false};
            std::thread waiter([&] {
                realUploader->waitUntilIdle();
                idle = true;
            });
            loop->drainUntil([&] { return idle.load(); });
            waiter.join();
        }
        vorna.reset();
        realUploader.reset();
        VRNBundle::setMainBundle(nullptr);
        test::resetKitGlobals();
    }

    // The report the uploader got last.
    std::shared_ptr<VRNVornaReportData> sent() {
        return keeping->received.empty() ? nullptr : keeping->received.back();
    }

    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<test::FakeReachability::Shared> network =
        std::make_shared<test::FakeReachability::Shared>();
    std::shared_ptr<test::FakeAPI> api = std::make_shared<test::FakeAPI>();
    std::shared_ptr<test::MemoryStore> reports = std::make_shared<test::MemoryStore>();
    std::shared_ptr<KeepingUploader> keeping = std::make_shared<KeepingUploader>();
    VRNVornaInstance::UploaderFactory makeUploader;
    std::shared_ptr<VRNUploader> realUploader;
    std::shared_ptr<VRNKeyValueStore> store;
    std::shared_ptr<VRNAppRepository> repository;
    std::shared_ptr<VRNVornaInstance> vorna;
};

TEST_F(VRNVornaAutoReportTest, NoDescriptionKeepsTheHooksTextAnEmptyOneReplacesIt) {
    // The host's hook writes a description of its own and a fact of its own.
    vorna->setOnPrepareData([](std::shared_ptr<VRNVornaReportData> data) {
        auto dict = data->gatheredDataDict().value_or(VRNGatheredDataDict{});
        dict[kVRNUserInput] = std::string("from the hook");
        dict["VRN_HostFact"] = int64_t{42};
        data->setGatheredDataDict(dict);
        return data;
    });

    // autoReportWithDescription(nothing)
    vorna->performAutoReport(false, std::nullopt);
    ASSERT_NE(sent(), nullptr);
    EXPECT_EQ(userInput(*sent()), VRNGatheredValue(std::string("from the hook")));
    const size_t keys = sent()->gatheredDataDict()->size();

    // autoReport and autoReportWithAttachScreenshot(flag): the empty description.
    vorna->performAutoReport(false, std::string());
    EXPECT_EQ(userInput(*sent()), VRNGatheredValue(std::string()));
    // The other facts travel on beside it.
    EXPECT_EQ(sent()->gatheredDataDict()->size(), keys);
    EXPECT_EQ(sent()->gatheredDataDict()->at("VRN_HostFact"), VRNGatheredValue(int64_t{42}));

    vorna->performAutoReport(false, std::string("Checkout froze"));
    EXPECT_EQ(userInput(*sent()), VRNGatheredValue(std::string("Checkout froze")));

    // Without a hook nothing writes the key: an absent description leaves it out entirely.
    vorna->setOnPrepareData(nullptr);
    vorna->performAutoReport(false, std::nullopt);
    ASSERT_TRUE(sent()->gatheredDataDict().has_value()) << "the device's facts are gathered";
    EXPECT_FALSE(userInput(*sent()).has_value());
    EXPECT_EQ(keeping->received.size(), 4u);
}

TEST_F(VRNVornaAutoReportTest, OnlyAReportAskedWithAScreenshotTakesOne) {
    auto toolkit = std::make_shared<PictureToolkit>();
    VRNUIPlatform::install(toolkit);

    vorna->performAutoReport(true, std::string("with picture"));
    ASSERT_NE(sent(), nullptr);
    ASSERT_NE(sent()->screenshotFile(), nullptr);
    EXPECT_EQ(sent()->screenshotFile()->name(), "screenshot.jpg");
    EXPECT_EQ(*sent()->screenshotFile()->data(), (VRNData{0xff, 0xd8, 0x01, 0x02}));
    EXPECT_EQ(toolkit->captures, 1);

    // Without: the white pixel, and the application is not photographed at all.
    vorna->performAutoReport(false, std::string("without picture"));
    ASSERT_NE(sent()->screenshotFile(), nullptr);
    EXPECT_EQ(sent()->screenshotFile()->name(), "emptyScreenshot.jpg");
    EXPECT_EQ(*sent()->screenshotFile()->data(), VRNEmptyScreenshotJPEG());
    EXPECT_EQ(toolkit->captures, 1);

    VRNUIPlatform::uninstall();
}

TEST_F(VRNVornaAutoReportTest, TheReportTheHookReturnsIsTheOneSavedAndSent) {
    repository->setClientAuthorized(true);
    makeUploader = [this](std::shared_ptr<VRNFileManagerProtocol> fileManager,
                          std::shared_ptr<VRNAPIProtocol> client) {
        VRNUploader::Dependencies deps;
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.appRepository = repository;
        realUploader =
            VRNUploader::initWithFileManager(std::move(fileManager), std::move(client), deps);
        return realUploader;
    };
    std::shared_ptr<VRNVornaReportData> given;
    const auto replacement = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    replacement->setQuickFacts("made by the host");
    vorna->setOnPrepareData([&](std::shared_ptr<VRNVornaReportData> data) {
        given = data;
        return replacement;
    });

    vorna->performAutoReport(false, std::string("Replaced"));
    ASSERT_TRUE(loop->drainUntil(
        [&] { return log.contains("VRNUploader: All upload operations completed succesfully"); }));
    ASSERT_NE(given, nullptr);
    EXPECT_NE(given, replacement);
    // The description and the screenshot go on the replacement, which had no facts of its own.
    EXPECT_EQ(replacement->gatheredDataDict(),
              (VRNGatheredDataDict{{kVRNUserInput, std::string("Replaced")}}));
    ASSERT_NE(replacement->screenshotFile(), nullptr);
    EXPECT_EQ(replacement->screenshotFile()->name(), "emptyScreenshot.jpg");
    EXPECT_FALSE(userInput(*given).has_value()) << "the gathered report is left as it was";

    // Saved, then deleted once delivered: the replacement itself.
    EXPECT_EQ(reports->everSaved(), std::vector<std::shared_ptr<VRNVornaReportData>>{replacement});
    EXPECT_EQ(reports->deleteRequests(), std::vector<std::string>{"JOB-1"});
    ASSERT_EQ(api->reportCount(), 1u);
    const auto& report = *api->sentReports[0];
    EXPECT_EQ(report.quickFacts, "made by the host");
    EXPECT_EQ(report.reportDesc, VRNGatheredValue(std::string("Replaced")));
    EXPECT_FALSE(report.device.has_value()) << "no gathered fact of the discarded report";

    // An archived application asks neither the hook nor the uploader.
    given = nullptr;
    repository->setApplicationActive(false);
    vorna->performAutoReport(true, std::string("Archived"));
    EXPECT_EQ(given, nullptr);
    EXPECT_EQ(api->reportCount(), 1u);
}

TEST_F(VRNVornaAutoReportTest, StartSetsUpInvocationsAuthorizesAndOnlyOnSuccessRegistersChecks) {
    // The toolkit's floating button notes itself among the backend calls, to see what came first.
    struct Windows : VRNInvocationPlatform {
        explicit Windows(test::FakeAPI& recorder) : backend(recorder) {}
        void setupFloatingButtonWindow(std::function<void()>) override {
            std::lock_guard lock(backend.mutex);
            backend.calls.push_back("floating button");
        }
        void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler>) override {}
        test::FakeAPI& backend;
    };
    const auto hostLoop = VRNRunLoop::main();
    VRNRunLoop::setMain(loop);
    // The black box a start begins samples into the test's defaults, or not at all.
    VRNKeyValueStore::setStandard(store);
    VRNSetBlackBoxEnabled(false);
    VornaInvocationManager::setPlatform(std::make_shared<Windows>(*api));

    vorna->performStart(VornaInvocationEventFloatingButton);
    loop->drain();
    // The start made its own starter, with the host's credentials.
    ASSERT_EQ(api->authCount(), 1u);
    EXPECT_EQ(api->authCredentials[0].first, "client-1");
    EXPECT_EQ(api->calls, (std::vector<std::string>{"floating button", "authenticate"}));

    // A refused authorization registers nothing, asks nothing and makes no uploader.
    api->failAuth();
    loop->drain();
    EXPECT_EQ(api->calls, (std::vector<std::string>{"floating button", "authenticate"}));

    loop->advance(10);
    api->answerAuth(std::make_shared<VRNAPIAuthResponse>("token"));
    loop->drain();
    EXPECT_EQ(api->calls,
              (std::vector<std::string>{"floating button", "authenticate", "authenticate",
                                        "register", "enabled", "uploader"}));
    EXPECT_TRUE(repository->clientAuthorized());

    VornaInvocationManager::setPlatform(nullptr);
    VRNRunLoop::setMain(hostLoop);
    VRNKeyValueStore::setStandard(nullptr);
}

}  // namespace
}  // namespace vorna
