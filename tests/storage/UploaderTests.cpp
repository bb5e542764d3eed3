// The upload pipeline on virtual time, with the report store in memory and a backend client
// that answers each report as the test says.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <regex>
#include <thread>

#include "platform/loop/VRNVirtualRunLoop.h"
#include "report/VRNAPIReport.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNUploader.h"
#include "support/FakeAPI.h"
#include "support/KitGlobals.h"
#include "support/LogCapture.h"
#include "support/MemoryStore.h"
#include "support/TempDir.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

const std::string kAllDone = "VRNUploader: All upload operations completed succesfully";
const std::string kRetrying = "VRNUploader - Retrying upload operation";

std::string retryAfter(int seconds) {
    return "VRNUploader - Will retry upload operation after " + std::to_string(seconds);
}

class UploaderTest : public testing::Test {
protected:
    void SetUp() override {
        test::resetKitGlobals();
        repository->setClientAuthorized(true);
        // A report whose description names a job in `failing` is refused with a server error.
        api->answerReport = [this](const VRNAPIReport& report) -> VRNErrorPtr {
            const auto* text =
                report.reportDesc ? std::get_if<std::string>(&*report.reportDesc) : nullptr;
            if (text && failing.count(*text) != 0 && failing[*text]-- > 0) {
                return VRNError::make("VRNErrorDomainAPI", 101, "Server answered 500");
            }
            return nullptr;
        };
        log.clear();
    }
    void TearDown() override {
        if (uploader) {
            settle();
        }
        uploader.reset();
        test::resetKitGlobals();
    }

    // Waits until the working queue has run everything handed to it. A failing round hands its
    // retry timer to the loop and waits there, so the loop keeps turning meanwhile.
    void settle() {
        std::atomic<bool> idle{false};
        std::thread waiter([&] {
            uploader->waitUntilIdle();
            idle = true;
        });
        loop->drainUntil([&] { return idle.load(); });
        waiter.join();
    }

    static std::shared_ptr<VRNVornaReportData> report(const std::string& description) {
        auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        data->setGatheredDataDict(VRNGatheredDataDict{{kVRNUserInput, description}});
        return data;
    }
    void startUploader() {
        VRNUploader::Dependencies deps;
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        deps.appRepository = repository;
        uploader = VRNUploader::initWithFileManager(store, api, deps);
    }
    bool until(const std::string& line, size_t times = 1) {
        return loop->drainUntil([&] { return log.count(line) >= times; });
    }
    // The retry's line is written on the working queue before its timer reaches the loop:
    // virtual time may only move once the timer is there.
    bool untilRetryScheduled(const std::string& line) {
        return until(line) && loop->drainUntil([&] { return loop->hasPendingTimers(); });
    }
    // The uploader's own lines, in order; the operations' lines carry addresses.
    std::vector<std::string> uploaderLines() const {
        std::vector<std::string> lines;
        for (const auto& line : log.lines()) {
            if (line.rfind("VRNUploader", 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }
    size_t linesMatching(const std::string& pattern) const {
        const std::regex re(pattern);
        const auto lines = log.lines();
        return static_cast<size_t>(std::count_if(
            lines.begin(), lines.end(), [&](const auto& l) { return std::regex_match(l, re); }));
    }

    test::TempDir dir;
    test::LogCapture log;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    VRNNotificationCenter center;
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::shared_ptr<test::FakeAPI> api = std::make_shared<test::FakeAPI>();
    // Description → how many more times its report is refused. Read on the working queue once
    // the uploader runs; set before.
    std::map<std::string, int> failing;
    std::shared_ptr<VRNUploader> uploader;
};

TEST_F(UploaderTest, OneFailureInThreeKeepsThatJobAndRetriesItOnceAfterTenSeconds) {
    for (const char* text : {"first", "second", "third"}) {
        ASSERT_TRUE(store->saveDataForReportData(report(text)));
    }
    failing["second"] = 1;
    startUploader();
    ASSERT_TRUE(untilRetryScheduled(retryAfter(10)));
    // Only the last operation of the round decides, after every job has had its turn.
    EXPECT_EQ(uploaderLines(), (std::vector<std::string>{
                                   "VRNUploader: Got 3 offline jobs to process",
                                   "VRNUploader: Adding operation to queue for job id JOB-1",
                                   "VRNUploader: Adding operation to queue for job id JOB-2",
                                   "VRNUploader: Adding operation to queue for job id JOB-3",
                                   "VRNUploader: Uploaded succesfully, removing job id JOB-1",
                                   "VRNUploader: Upload failed, not removing job id JOB-2",
                                   "VRNUploader: Uploaded succesfully, removing job id JOB-3",
                                   retryAfter(10),
                               }));
    const std::string operation = "<VRNVornaUploadOperation: 0x[0-9a-f]+>";
    EXPECT_EQ(linesMatching("VRNVornaUploadOperation: starting operation " + operation), 3u);
    EXPECT_EQ(linesMatching("VRNVornaUploadOperation: operation completed " + operation), 2u);
    EXPECT_EQ(linesMatching("VRNVornaUploadOperation: operation completed " + operation +
                            " with error Server answered 500"),
              1u);
    EXPECT_EQ(store->savedReports(), std::vector<std::string>{"JOB-2"});
    EXPECT_TRUE(timerRunning);

    log.clear();
    loop->advance(9.999);
    EXPECT_FALSE(log.contains(kRetrying)) << "retried before 10 s";
    loop->advance(0.001);
    ASSERT_TRUE(until(kAllDone));
    settle();
    EXPECT_EQ(uploaderLines(), (std::vector<std::string>{
                                   kRetrying,
                                   "VRNUploader: Got 1 offline jobs to process",
                                   "VRNUploader: Adding operation to queue for job id JOB-2",
                                   "VRNUploader: Uploaded succesfully, removing job id JOB-2",
                                   kAllDone,
                               }));
    EXPECT_TRUE(store->savedReports().empty());
    EXPECT_EQ(delayInterval, 5);
    EXPECT_FALSE(timerRunning);
    EXPECT_EQ(uploader->timer(), nullptr);
    EXPECT_FALSE(loop->hasPendingTimers());

    // Delivered: nothing more is sent or scheduled, however long the application runs.
    log.clear();
    loop->advance(3600);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(api->reportCount(), 4u);
}

TEST_F(UploaderTest, AReportTheStoreRefusesIsStillSentFromMemory) {
    store->refuseSaves = true;
    startUploader();
    settle();
    log.clear();

    uploader->uploadData(report("not on disk"));
    ASSERT_TRUE(until(kAllDone));
    settle();
    // The job has no id: it is named as nothing is, and the store is asked to delete that,
    // which touches none of the reports it holds.
    EXPECT_EQ(uploaderLines(), (std::vector<std::string>{
                                   "VRNUploader: Got request to upload data",
                                   "VRNUploader: Adding operation to queue for job id (null)",
                                   "VRNUploader: Uploaded succesfully, removing job id (null)",
                                   kAllDone,
                               }));
    ASSERT_EQ(api->reportCount(), 1u);
    const auto& sent = api->sentReports[0];
    ASSERT_TRUE(sent->reportDesc.has_value());
    EXPECT_EQ(std::get<std::string>(*sent->reportDesc), "not on disk");
    EXPECT_EQ(store->deleteRequests(), std::vector<std::string>{"(null)"});
    EXPECT_FALSE(loop->hasPendingTimers());
}

TEST_F(UploaderTest, NothingSavedSaysSoAndSendsNothing) {
    startUploader();
    settle();
    EXPECT_EQ(log.lines(), std::vector<std::string>{"VRNUploader: No saved offline jobs"});

    center.post(VRNApplicationWillEnterForegroundNotification);
    settle();
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "VRNUploader: No saved offline jobs",
                  "VRNUploader - Starting offline jobs after application entered foreground",
                  "VRNUploader: No saved offline jobs",
              }));
    EXPECT_EQ(api->reportCount(), 0u);
    EXPECT_FALSE(loop->hasPendingTimers());
}

TEST_F(UploaderTest, FailingRoundsNeverArmASecondRetryTimer) {
    ASSERT_TRUE(store->saveDataForReportData(report("stubborn")));
    ASSERT_TRUE(store->saveDataForReportData(report("also stubborn")));
    failing["stubborn"] = 4;
    failing["also stubborn"] = 4;
    startUploader();
    // Both jobs of the round fail: one retry.
    ASSERT_TRUE(untilRetryScheduled(retryAfter(10)));
    settle();
    EXPECT_EQ(log.count("VRNUploader: Upload failed, not removing job id JOB-1"), 1u);
    EXPECT_EQ(log.count("VRNUploader: Upload failed, not removing job id JOB-2"), 1u);

    // A round of its own while the timer waits (the application came back to the foreground)
    // fails too: the pending timer stays the only one, with its delay.
    center.post(VRNApplicationWillEnterForegroundNotification);
    ASSERT_TRUE(until("VRNUploader: Upload failed, not removing job id JOB-2", 2));
    settle();
    EXPECT_EQ(log.count(retryAfter(10)), 1u);
    EXPECT_FALSE(log.contains(retryAfter(20)));
    EXPECT_EQ(delayInterval, 10);

    // The first timer fires once, at 10 s; its round fails and arms the next, at 20 s.
    loop->advance(10);
    EXPECT_EQ(log.count(kRetrying), 1u);
    ASSERT_TRUE(untilRetryScheduled(retryAfter(20)));
    settle();
    loop->advance(19.999);
    EXPECT_EQ(log.count(kRetrying), 1u) << "a timer of the earlier round is still armed";
    loop->advance(0.001);
    EXPECT_EQ(log.count(kRetrying), 2u);

    // A fourth failure waits 40 s; then both go through.
    ASSERT_TRUE(untilRetryScheduled(retryAfter(40)));
    settle();
    loop->advance(40);
    ASSERT_TRUE(until(kAllDone));
    settle();
    EXPECT_EQ(log.count(kRetrying), 3u);
    EXPECT_TRUE(store->savedReports().empty());
    EXPECT_FALSE(loop->hasPendingTimers());
    EXPECT_EQ(delayInterval, 5);
}

}  // namespace
}  // namespace vorna
