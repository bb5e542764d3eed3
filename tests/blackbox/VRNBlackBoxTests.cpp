#include <gtest/gtest.h>

#include "blackbox/BlackBoxFakes.h"
#include "blackbox/VRNBlackBox.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNConstants.h"
#include "support/LogCapture.h"

namespace vorna {
namespace {

size_t count(const std::optional<VRNBlackBox::History>& history) {
    return history ? history->size() : 0;
}

std::string valueAt(const std::optional<VRNBlackBox::History>& history, size_t index) {
    auto record = history && index < history->size()
                      ? std::dynamic_pointer_cast<Record>((*history)[index])
                      : nullptr;
    return record && record->value() ? *record->value() : "?";
}

class BlackBox : public testing::Test {
protected:
    std::shared_ptr<VRNBlackBox> makeRecorder(std::shared_ptr<VRNAppRepository> repository) {
        return std::make_shared<VRNBlackBox>(std::move(repository), loop, fake.device);
    }

    test::TempRepository store;
    test::FakeDevice fake;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    std::shared_ptr<VRNBlackBox> recorder = makeRecorder(store.repository);
};

TEST_F(BlackBox, SixtySecondsFillEveryHistoryAndTheyStayAtTheirCapacity) {
    fake.countingMemory = true;
    recorder->startRecording();
    loop->advance(60);
    EXPECT_EQ(count(recorder->cpuHistory()), 120u);
    EXPECT_EQ(count(recorder->memoryHistory()), 120u);
    EXPECT_EQ(count(recorder->diskSpaceHistory()), 120u);
    EXPECT_EQ(count(recorder->batteryHistory()), 30u);
    EXPECT_EQ(count(recorder->networkHistory()), 30u);
    EXPECT_EQ(count(recorder->orientationHistory()), 30u);

    loop->advance(30);
    const auto memory = recorder->memoryHistory();
    EXPECT_EQ(count(memory), 120u);
    EXPECT_EQ(count(recorder->networkHistory()), 30u);
    // Samples 61 to 180 remain, oldest first.
    EXPECT_EQ(valueAt(memory, 0), "61.000");
    EXPECT_EQ(valueAt(memory, 119), "180.000");
    auto battery = std::dynamic_pointer_cast<Battery>(recorder->batteryHistory()->back());
    auto network = std::dynamic_pointer_cast<Network>(recorder->networkHistory()->back());
    ASSERT_TRUE(battery && network);
    EXPECT_EQ(battery->status(), "unknown");
    EXPECT_EQ(network->type(), std::nullopt);
}

TEST_F(BlackBox, FirstSamplesComeOnePeriodAfterTheStart) {
    recorder->startRecording();
    loop->advance(0.49);
    EXPECT_FALSE(recorder->cpuHistory());
    loop->advance(0.01);
    EXPECT_EQ(count(recorder->cpuHistory()), 1u);
    EXPECT_FALSE(recorder->batteryHistory());
    loop->advance(1.5);
    EXPECT_EQ(count(recorder->batteryHistory()), 1u);
}

TEST_F(BlackBox, StartingTwiceOrEnablingAgainDoesNotDoubleTheSampling) {
    recorder->startRecording();
    loop->advance(0.2);
    recorder->startRecording();
    const auto queue = recorder->cpuQueue();
    recorder->setBlackBoxEnabled(true);
    EXPECT_EQ(recorder->cpuQueue(), queue);
    loop->advance(9.8);
    EXPECT_EQ(count(recorder->cpuHistory()), 20u);
    EXPECT_EQ(count(recorder->orientationHistory()), 5u);
}

TEST_F(BlackBox, OffErasesTheHistoriesAndOnStartsThemEmpty) {
    store.repository->setData(VRNData{1, 2, 3}, kVRNSessionHistoryKey);
    recorder->startRecording();
    loop->advance(10);
    recorder->setBlackBoxEnabled(false);
    EXPECT_EQ(store.repository->getData(kVRNSessionHistoryKey), (VRNData{1, 2, 3}));
    EXPECT_FALSE(recorder->cpuHistory());
    for (auto key : {kVRNCpuHistoryKey, kVRNMemoryHistoryKey, kVRNStorageHistoryKey,
                     kVRNBatteryHistoryKey, kVRNNetworkHistoryKey, kVRNOrientationHistoryKey}) {
        EXPECT_FALSE(store.repository->getObjectForKey(key)) << key;
    }
    loop->advance(5);
    EXPECT_FALSE(recorder->isHalfSecondTimerValid() || recorder->isTwoSecondTimerValid());
    EXPECT_FALSE(recorder->cpuHistory());
    recorder->startRecording();  // while off: nothing
    loop->advance(5);
    EXPECT_FALSE(recorder->cpuHistory());

    recorder->setBlackBoxEnabled(true);
    loop->advance(2);
    EXPECT_EQ(count(recorder->cpuHistory()), 4u);
    EXPECT_EQ(count(recorder->networkHistory()), 1u);

    // Off and on again before the loop turns: the old timers end, one new pair starts.
    recorder->setBlackBoxEnabled(false);
    recorder->setBlackBoxEnabled(true);
    loop->advance(1);
    EXPECT_EQ(count(recorder->cpuHistory()), 2u);
}

TEST_F(BlackBox, ARestartContinuesTheHistories) {
    fake.countingMemory = true;
    recorder->startRecording();
    loop->advance(10);
    recorder.reset();
    EXPECT_FALSE(loop->hasPendingTimers());

    auto next = makeRecorder(store.open());
    next->startRecording();
    loop->advance(1);
    const auto memory = next->memoryHistory();
    EXPECT_EQ(count(memory), 22u);
    EXPECT_EQ(valueAt(memory, 0), "1.000");
    EXPECT_EQ(valueAt(memory, 21), "22.000");
}

TEST_F(BlackBox, AFailingSamplerStoresMinusOneAndRecordingGoesOn) {
    fake.threads.reset();
    recorder->startRecording();
    loop->advance(1);
    const auto cpu = recorder->cpuHistory();
    EXPECT_EQ(count(cpu), 2u);
    EXPECT_EQ(valueAt(cpu, 1), "-1.000");
}

TEST_F(BlackBox, DiskSpaceHistoryReadsTheStorageKey) {
    VRNArchiveValue::Array list{VRNCodingPtr(std::make_shared<Record>("42.000", "t"))};
    store.repository->setData(VRNKeyedArchiver::archivedDataWithRootObject(list),
                              "storageHistoryKey");
    EXPECT_EQ(valueAt(recorder->diskSpaceHistory(), 0), "42.000");
    EXPECT_FALSE(recorder->cpuHistory());
}

class Intruder : public VRNCoding {
public:
    std::string archiveClassName() const override { return "BlackBoxTestIntruder"; }
    void encodeWithCoder(VRNCoder&) const override {}
};

TEST_F(BlackBox, AStoredClassOutsideTheAllowedOnesIsRefusedWithALogLine) {
    VRNArchiveClassRegistry::registerClass(
        "BlackBoxTestIntruder", "NSObject",
        [](const VRNDecoder&) -> VRNCodingPtr { return std::make_shared<Intruder>(); });
    VRNArchiveValue::Array list{VRNCodingPtr(std::make_shared<Record>("1.000", "t")),
                                VRNCodingPtr(std::make_shared<Intruder>())};
    const auto data = VRNKeyedArchiver::archivedDataWithRootObject(list);
    store.repository->setData(data, kVRNCpuHistoryKey);

    VRNErrorPtr expected;
    VRNKeyedUnarchiver::unarchivedObjectOfClasses(
        {"NSDictionary", "NSMutableDictionary", "NSData", "NSMutableData", "NSString", "NSArray",
         "NSMutableArray", "VRNBlackBoxObject"},
        data, &expected);
    ASSERT_TRUE(expected);
    test::LogCapture log;
    EXPECT_FALSE(recorder->cpuHistory());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0], "VRNBlackBox: Failed to deserialize because of error " +
                                  expected->localizedDescription);
    EXPECT_NE(log.lines()[0].find("BlackBoxTestIntruder"), std::string::npos);
}

}  // namespace
}  // namespace vorna
