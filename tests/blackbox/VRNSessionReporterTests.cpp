#include <gtest/gtest.h>

#include "blackbox/BlackBoxFakes.h"
#include "blackbox/VRNSessionReporter.h"
#include "state/VRNConstants.h"

namespace vorna {
namespace {

std::vector<std::string> codes(const std::vector<RecordPtr>& history) {
    std::vector<std::string> out;
    for (const auto& record : history) {
        out.push_back(record->value().value_or("?"));
        EXPECT_TRUE(test::isKitTimestamp(record->timestamp()));
    }
    return out;
}

class SessionReporter : public testing::Test {
protected:
    test::TempRepository store;
    VRNNotificationCenter center;
};

TEST_F(SessionReporter, StartResignBackgroundForeground) {
    VRNSessionReporter reporter(store.repository, center);
    center.post(VRNApplicationWillResignActiveNotification);
    center.post(VRNApplicationDidEnterBackgroundNotification);
    center.post(VRNApplicationWillEnterForegroundNotification);
    EXPECT_EQ(codes(reporter.sessionHistory()), (std::vector<std::string>{"0", "1", "2", "0"}));
}

TEST_F(SessionReporter, KeepsTheLastFifteenChanges) {
    VRNSessionReporter reporter(store.repository, center);  // "0"
    for (int i = 0; i < 19; ++i) {
        center.post(i % 2 ? VRNApplicationWillEnterForegroundNotification
                          : VRNApplicationDidEnterBackgroundNotification);
    }
    // Twenty changes: "0", then "2", "0", "2", … ending with "2".
    std::vector<std::string> expected;
    for (int i = 5; i < 20; ++i) {
        expected.push_back(i % 2 ? "2" : "0");
    }
    EXPECT_EQ(codes(reporter.sessionHistory()), expected);
}

TEST_F(SessionReporter, ContinuesThePreviousLaunchAndStopsListeningWhenGone) {
    {
        VRNSessionReporter earlier(store.repository, center);
        earlier.appWillResignActive();
        earlier.appDidEnterBackground();
    }
    center.post(VRNApplicationWillEnterForegroundNotification);  // nobody listens now
    VRNSessionReporter reporter(store.open(), center);
    EXPECT_EQ(codes(reporter.sessionHistory()), (std::vector<std::string>{"0", "1", "2", "0"}));
}

TEST_F(SessionReporter, NothingStoredReadsEmpty) {
    VRNSessionReporter reporter(store.repository, center);
    store.repository->removeObjectForKey(kVRNSessionHistoryKey);
    EXPECT_TRUE(reporter.sessionHistory().empty());
    store.repository->setData(VRNData{0xff, 0x00}, kVRNSessionHistoryKey);
    EXPECT_TRUE(reporter.sessionHistory().empty());
}

}  // namespace
}  // namespace vorna
