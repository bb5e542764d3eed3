// The upload pipeline against the real reference backend on loopback: the report store on a
// temporary Documents folder, the libcurl client, and retries on virtual time.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <set>
#include <thread>

#include "api/VRNAPI.h"
#include "platform/storage/VRNBundle.h"
#include "platform/storage/VRNKeyedArchive.h"
#include "platform/linux/VRNStatvfsFileSystemProbe.h"
#include "platform/linux/VRNSysfsBatteryProbe.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "report/VRNReportGathering.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "support/BackendProcess.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

constexpr const char* kBundleId = "org.vorna.tests.upload";
const std::string kReportPath = std::string("api/1.0/issue_tracking/apps/") + kBundleId;

long peakResidentKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class UploadAgainstBackend : public testing::Test {
protected:
    void SetUp() override {
        delayInterval = initialDelayInterval;
        timerRunning = false;
        retryUploadNeeded = false;
        VRNBundle::setMainBundle(
            std::make_shared<VRNBundle>(nlohmann::json{{"CFBundleIdentifier", kBundleId}}));
        repository->setClientAuthorized(true);
        std::atomic<bool> answered{false};
        api->authenticateWith("upload-client", "upload-secret",
                              [&](auto response, auto) { answered = response != nullptr; });
        ASSERT_TRUE(loop->drainUntil([&] { return answered.load(); }));
        log.clear();
    }
    void TearDown() override {
        if (uploader) {
            // Let the working queue finish what it holds; a failed round needs the loop to
            // schedule its retry timer, so the loop is drained meanwhile.
            std::atomic<bool> idle{false};
            std::thread waiter([&] {
                uploader->waitUntilIdle();
                idle = true;
            });
            loop->drainUntil([&] { return idle.load(); });
            waiter.join();
        }
        uploader.reset();
        VRNBundle::setMainBundle(nullptr);
        delayInterval = initialDelayInterval;
        timerRunning = false;
        retryUploadNeeded = false;
    }

    std::shared_ptr<VRNVornaReportData> report(const std::string& description) {
        VRNReportSources sources;
        sources.probes = std::make_shared<VRNDeviceProbes>();
        sources.probes->battery = std::make_shared<VRNSysfsBatteryProbe>(dir.path() / "no-power");
        sources.probes->fileSystem = std::make_shared<VRNStatvfsFileSystemProbe>();
        sources.documentsDirectory = [this] { return dir.path(); };
        sources.hasConnectivity = [] { return true; };
        sources.timestamp = [] { return std::string("2024-03-05T14:07:09+01:00"); };
        auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        auto dict = VRNGatherReportFacts(sources);
        dict[kVRNUserInput] = description;
        data->setGatheredDataDict(std::move(dict));
        data->setScreenshotFile(std::make_shared<VRNVornaFile>(std::string("emptyScreenshot.jpg"),
                                                               VRNData{0xff, 0xd8}));
        return data;
    }
    void startUploader() {
        VRNUploader::Dependencies deps;
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.appRepository = repository;
        uploader = VRNUploader::initWithFileManager(store, api, deps);
    }
    bool until(const std::string& line) {
        return loop->drainUntil([&] { return log.contains(line); });
    }
    // The retry's log line is written on the working queue before the timer reaches the loop:
    // virtual time may only move once the timer is there.
    bool untilRetryScheduled(const std::string& line) {
        return until(line) && loop->drainUntil([&] { return loop->hasPendingTimers(); });
    }

    test::BackendProcess backend{VORNA_BACKEND_BINARY, "upload-client", "upload-secret"};
    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<VRNAPI> api = std::make_shared<VRNAPI>(backend.baseUrl(), loop);
    std::shared_ptr<VRNFileManager> store = std::make_shared<VRNFileManager>(dir / "Documents");
    std::shared_ptr<VRNUploader> uploader;
};

TEST_F(UploadAgainstBackend, SavedReportsGoOutOneAfterAnotherAndAreDeleted) {
    for (const char* text : {"one", "two", "three"}) {
        ASSERT_TRUE(store->saveDataForReportData(report(text)));
    }
    startUploader();
    ASSERT_TRUE(until("VRNUploader: All upload operations completed succesfully"));
    EXPECT_TRUE(log.contains("VRNUploader: Got 3 offline jobs to process"));
    EXPECT_EQ(log.lines().back(), "VRNUploader: All upload operations completed succesfully");
    EXPECT_EQ(log.count("VRNAPI - Success uploading report"), 3u);
    EXPECT_TRUE(store->savedReports().empty());
    EXPECT_EQ(backend.reports().size(), 3u);
    // One at a time: each operation completes before the next starts.
    int running = 0;
    for (const auto& line : log.lines()) {
        if (line.rfind("VRNVornaUploadOperation: starting operation", 0) == 0) {
            EXPECT_EQ(++running, 1);
        } else if (line.rfind("VRNVornaUploadOperation: operation completed", 0) == 0) {
            --running;
        }
    }
}

TEST_F(UploadAgainstBackend, ServerErrorsRetryAfterTenTwentyFortyThenDeliver) {
    backend.injectFault(kReportPath, 3, test::BackendFault::withStatus(500));
    startUploader();
    uploader->uploadData(report("flaky"));
    size_t rounds = 0;
    for (int seconds : {10, 20, 40}) {
        const std::string line =
            "VRNUploader - Will retry upload operation after " + std::to_string(seconds);
        ASSERT_TRUE(untilRetryScheduled(line)) << line;
        EXPECT_EQ(store->savedReports().size(), 1u);
        loop->advance(seconds - 0.01);
        EXPECT_EQ(log.count("VRNUploader - Retrying upload operation"), rounds) << "too early";
        loop->advance(0.01);
        EXPECT_EQ(log.count("VRNUploader - Retrying upload operation"), ++rounds);
    }
    ASSERT_TRUE(until("VRNUploader: All upload operations completed succesfully"));
    EXPECT_EQ(delayInterval, 5);
    EXPECT_TRUE(store->savedReports().empty());
    ASSERT_EQ(backend.reports().size(), 1u);
    const auto document = backend.reports()[0]["document"];
    EXPECT_EQ(document["description"], "flaky");
    EXPECT_TRUE(document["battery_status"].is_string());
    EXPECT_EQ(document["battery_status"], "0");
    EXPECT_EQ(document["battery_level"], "-1");
    EXPECT_TRUE(document["used_disk_space"].is_number());
    EXPECT_TRUE(document["available_disk_space"].is_string());
    EXPECT_TRUE(document["authentication"].is_number_integer());
    EXPECT_FALSE(document.contains("permissions"));
    EXPECT_TRUE(document["blackbox"].is_object());
    EXPECT_EQ(document["report_type"], "manual");
}

TEST_F(UploadAgainstBackend, BackgroundCancelsTheRetryAndTheNextFailureWaitsTenAgain) {
    backend.injectFault(kReportPath, 10, test::BackendFault::withStatus(500));
    startUploader();
    uploader->uploadData(report("kept"));
    ASSERT_TRUE(untilRetryScheduled("VRNUploader - Will retry upload operation after 10"));
    center.post(VRNApplicationDidEnterBackgroundNotification);
    EXPECT_TRUE(
        log.contains("VRNUploader - Application entered background, invalidating timer and "
                     "reseting delay times"));
    EXPECT_FALSE(timerRunning);
    loop->advance(1000);
    EXPECT_FALSE(log.contains("VRNUploader - Retrying upload operation"));

    center.post(VRNApplicationWillEnterForegroundNotification);
    ASSERT_TRUE(loop->drainUntil(
        [&] { return log.count("VRNUploader - Will retry upload operation after 10") == 2; }));
    EXPECT_FALSE(log.contains("VRNUploader - Will retry upload operation after 20"));
    EXPECT_EQ(store->savedReports().size(), 1u);
}

TEST_F(UploadAgainstBackend, ArchivedApplicationDropsEverySavedReport) {
    for (const char* text : {"one", "two", "three"}) {
        ASSERT_TRUE(store->saveDataForReportData(report(text)));
    }
    backend.archive(kBundleId);
    // The token names the application before the uploads, as the start-up does.
    api->getApplicationEnabled(kBundleId, "iOS", "iOS", [](auto) {});
    ASSERT_TRUE(until("VRNAPI - Application enabled request returned status code 404"));
    startUploader();
    ASSERT_TRUE(until("VRNUploader: Upload failed, application archived, error code -> 102"));
    ASSERT_TRUE(loop->drainUntil([&] { return uploader->operationCount() == 0; }));
    uploader->waitUntilIdle();
    EXPECT_TRUE(store->savedReports().empty());
    EXPECT_FALSE(repository->applicationActive());
    EXPECT_FALSE(log.contains("VRNUploader - Will retry upload operation after 10"));
    EXPECT_TRUE(backend.reports().empty());
}

TEST_F(UploadAgainstBackend, UnauthorizedClientKeepsTheReportAndQueuesNothing) {
    repository->setClientAuthorized(false);
    startUploader();
    uploader->uploadData(report("later"));
    uploader->waitUntilIdle();
    EXPECT_TRUE(log.contains("VRNUploader - Will not start upload, client is not authorized"));
    EXPECT_EQ(uploader->operationCount(), 0u);
    EXPECT_EQ(store->savedReports().size(), 1u);
    EXPECT_FALSE(timerRunning);
    EXPECT_TRUE(backend.reports().empty());
}

TEST_F(UploadAgainstBackend, AReportWhoseScreenshotUploadFailedStaysForTheNextRound) {
    // The files endpoint answers 500 without an address: the client posts nothing and has no
    // error to give, which must not count as delivered.
    backend.injectFault("api/1.0/files", 1, test::BackendFault::withStatus(500));
    startUploader();
    uploader->uploadData(report("screenshot refused"));
    ASSERT_TRUE(untilRetryScheduled("VRNUploader - Will retry upload operation after 10"));
    EXPECT_TRUE(backend.reports().empty());
    const auto saved = store->savedReports();
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_TRUE(log.contains("VRNUploader: Upload failed, not removing job id " + saved[0]));

    loop->advance(10);
    ASSERT_TRUE(until("VRNUploader: All upload operations completed succesfully"));
    EXPECT_TRUE(store->savedReports().empty());
    ASSERT_EQ(backend.reports().size(), 1u);
    EXPECT_EQ(backend.reports()[0]["description"], "screenshot refused");
}

TEST_F(UploadAgainstBackend, UnreadableSavedReportsStayWhileTheOthersGoOut) {
    ASSERT_TRUE(store->saveDataForReportData(report("first")));
    const auto truncated = store->saveDataForReportData(report("truncated"));
    ASSERT_TRUE(store->saveDataForReportData(report("second")));
    const auto folder = dir / "Documents" / VornaSavedDirectory;
    const auto truncatedPath = folder / (*truncated + VornaFileExtension);
    std::filesystem::resize_file(truncatedPath, std::filesystem::file_size(truncatedPath) / 3);
    const std::string garbage = "0A1B2C3D-0000-4000-8000-00000000DEAD";
    std::ofstream(folder / (garbage + VornaFileExtension)) << "not an archive at all";
    // A well-formed archive whose root is not a report: a dictionary, allowed by itself.
    const std::string foreign = "0A1B2C3D-0000-4000-8000-00000000BEEF";
    const VRNData dictionaryArchive = VRNKeyedArchiver::archivedDataWithRootObject(
        VRNArchiveValue(VRNArchiveValue::Dictionary{{kVRNUserInput, "not a report"}}));
    std::ofstream(folder / (foreign + VornaFileExtension), std::ios::binary)
        .write(reinterpret_cast<const char*>(dictionaryArchive.data()),
               static_cast<std::streamsize>(dictionaryArchive.size()));

    startUploader();
    ASSERT_TRUE(until("VRNUploader: All upload operations completed succesfully"));
    EXPECT_TRUE(log.contains("VRNUploader: Got 5 offline jobs to process"));
    for (const auto& id : {*truncated, garbage, foreign}) {
        EXPECT_TRUE(log.contains("VRNUploader: Failed to fetch data for " + id)) << id;
    }
    std::set<std::string> delivered;
    for (const auto& received : backend.reports()) {
        delivered.insert(received["description"].get<std::string>());
    }
    EXPECT_EQ(delivered, (std::set<std::string>{"first", "second"}));
    auto left = store->savedReports();
    std::sort(left.begin(), left.end());
    std::vector<std::string> unreadable{*truncated, garbage, foreign};
    std::sort(unreadable.begin(), unreadable.end());
    EXPECT_EQ(left, unreadable) << "an unreadable report is never deleted by the uploader";

    // Every later round skips them again and still deletes nothing.
    log.clear();
    center.post(VRNApplicationWillEnterForegroundNotification);
    ASSERT_TRUE(loop->drainUntil(
        [&] { return log.count("VRNUploader: Failed to fetch data for " + foreign) == 1; }));
    uploader->waitUntilIdle();
    EXPECT_EQ(store->savedReports().size(), 3u);
    EXPECT_FALSE(log.contains("VRNUploader: Adding operation to queue for job id " + foreign));
}

TEST_F(UploadAgainstBackend, AHundredMegabyteAttachmentArrivesWhole) {
    VRNVornaFile::Bytes bytes(100u << 20);
    uint64_t state = 0x9E3779B97F4A7C15ull;
    for (auto& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        byte = static_cast<uint8_t>(state);
    }
    const auto attachment = dir / "core.dump";
    std::ofstream(attachment, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    auto data = report("with a core dump");
    const long rssBefore = peakResidentKilobytes();
    auto file = VRNVornaFile::initWithFileURL(attachment);
    ASSERT_NE(file, nullptr);
    data->setAttachedFiles(VRNVornaReportData::Files{file});
    file.reset();
    startUploader();
    uploader->uploadData(std::move(data));
    ASSERT_TRUE(loop->drainUntil(
        [&] { return log.contains("VRNUploader: All upload operations completed succesfully"); },
        std::chrono::minutes(5)));
    const long rssAfter = peakResidentKilobytes();
    EXPECT_TRUE(store->savedReports().empty());

    const auto received = backend.reports();
    ASSERT_EQ(received.size(), 1u);
    const auto& files = received[0]["document"]["files"];
    ASSERT_EQ(files.size(), 1u);
    // ".../files/<id>/core.dump": the backend keeps the bytes under files/<id>.
    const std::string url = files[0]["url"];
    ASSERT_TRUE(url.ends_with("/core.dump")) << url;
    const std::string withoutName = url.substr(0, url.rfind('/'));
    const std::string id = withoutName.substr(withoutName.rfind('/') + 1);
    const auto stored = backend.dataDir() / "files" / id;
    ASSERT_EQ(std::filesystem::file_size(stored), bytes.size());
    std::ifstream in(stored, std::ios::binary);
    VRNVornaFile::Bytes back(bytes.size());
    in.read(reinterpret_cast<char*>(back.data()), static_cast<std::streamsize>(back.size()));
    EXPECT_TRUE(back == bytes);
    // Peak resident memory of the whole test process while the report was saved, loaded into
    // the upload form and sent (the attachment itself is 100 MB).
    RecordProperty("peak_rss_growth_mb", std::to_string((rssAfter - rssBefore) / 1024));
    std::printf("[ measure  ] 100 MB attachment: peak resident memory grew by %ld MB\n",
                (rssAfter - rssBefore) / 1024);
}

}  // namespace
}  // namespace vorna
