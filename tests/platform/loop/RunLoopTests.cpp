#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "platform/loop/VRNDispatchQueue.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNThreadRunLoop.h"
#include "platform/loop/VRNVirtualRunLoop.h"

namespace vorna {
namespace {

TEST(VirtualRunLoop, TimersFireAtTheirOwnInstantsInOrder) {
    VRNVirtualRunLoop loop;
    std::vector<std::pair<std::string, double>> fired;
    loop.scheduleTimer(2.0, false, [&] { fired.emplace_back("two", loop.now()); });
    loop.scheduleTimer(0.5, true, [&] { fired.emplace_back("half", loop.now()); });
    loop.scheduleTimer(2.0, false, [&] { fired.emplace_back("two-b", loop.now()); });
    loop.advance(2.0);
    const std::vector<std::pair<std::string, double>> expected{
        {"half", 0.5}, {"half", 1.0}, {"half", 1.5}, {"two", 2.0}, {"two-b", 2.0}, {"half", 2.0}};
    EXPECT_EQ(fired, expected);
    EXPECT_DOUBLE_EQ(loop.now(), 2.0);
}

TEST(VirtualRunLoop, InvalidatedTimersNeverFireAndOneShotsBecomeInvalid) {
    VRNVirtualRunLoop loop;
    int oneShot = 0, repeating = 0;
    auto once = loop.scheduleTimer(1, false, [&] { ++oneShot; });
    VRNTimerPtr repeat;
    repeat = loop.scheduleTimer(1, true, [&] {
        if (++repeating == 3) {
            // A repeating timer may stop itself from its own block.
            repeat->invalidate();
        }
    });
    auto cancelled = loop.scheduleTimer(1, false, [] { FAIL() << "cancelled timer fired"; });
    cancelled->invalidate();
    loop.advance(10);
    EXPECT_EQ(oneShot, 1);
    EXPECT_FALSE(once->isValid());
    EXPECT_EQ(repeating, 3);
    EXPECT_FALSE(loop.hasPendingTimers());
}

TEST(VirtualRunLoop, TasksFromOtherThreadsRunWhenTheDriverDrains) {
    VRNVirtualRunLoop loop;
    std::atomic<bool> ranOnDriver{false};
    std::thread other([&] {
        EXPECT_FALSE(loop.isCurrent());
        loop.post([&] { ranOnDriver = loop.isCurrent(); });
    });
    other.join();
    EXPECT_FALSE(ranOnDriver);
    EXPECT_EQ(loop.drain(), 1u);
    EXPECT_TRUE(ranOnDriver);
}

TEST(VirtualRunLoop, TimerScheduledFromATaskUsesTheTimeOfScheduling) {
    VRNVirtualRunLoop loop;
    double firedAt = -1;
    loop.scheduleTimer(3, false,
                       [&] { loop.scheduleTimer(10, false, [&] { firedAt = loop.now(); }); });
    loop.advance(12.9);
    EXPECT_EQ(firedAt, -1);
    loop.advance(0.1);
    EXPECT_DOUBLE_EQ(firedAt, 13);
}

TEST(ThreadRunLoop, RunsPostsInOrderOnItsThreadAndRunSyncWaits) {
    VRNThreadRunLoop loop("test-loop");
    EXPECT_FALSE(loop.isCurrent());
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) {
        loop.post([&order, i] { order.push_back(i); });
    }
    bool onLoop = false;
    loop.runSync([&] { onLoop = loop.isCurrent(); });
    EXPECT_TRUE(onLoop);
    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
    }
    // runSync from the loop itself runs inline instead of waiting for itself.
    bool nested = false;
    loop.runSync([&] { loop.runSync([&] { nested = true; }); });
    EXPECT_TRUE(nested);
}

TEST(ThreadRunLoop, RunSyncReleasesWhatTheTaskHoldsBeforeItReturns) {
    VRNThreadRunLoop loop;
    for (int i = 0; i < 200; ++i) {
        auto held = std::make_shared<int>(i);
        loop.runSync([held] {});
        // The loop's thread let go of its copy before the caller went on.
        ASSERT_EQ(held.use_count(), 1) << i;
    }
}

// A loop whose toolkit is gone: it takes tasks and drops them.
struct DroppingLoop : VRNRunLoop {
    void post(std::function<void()>) override {}
    VRNTimerPtr scheduleTimer(double, bool, std::function<void()>) override { return nullptr; }
    bool isCurrent() const override { return false; }
};

TEST(RunLoop, RunSyncOnALoopThatDropsTheTaskReturnsWithoutRunningIt) {
    DroppingLoop loop;
    bool ran = false;
    loop.runSync([&] { ran = true; });
    EXPECT_FALSE(ran);
}

TEST(ThreadRunLoop, WakesForATimerScheduledWhileItSleeps) {
    VRNThreadRunLoop loop;
    // A far timer first puts the loop to sleep until then; the near one must still fire.
    loop.scheduleTimer(3600, false, [] {});
    std::promise<bool> fired;
    loop.scheduleTimer(0.001, false, [&] { fired.set_value(loop.isCurrent()); });
    EXPECT_TRUE(fired.get_future().get());
}

TEST(DispatchQueue, SerialInOrderAndSyncFromItselfRunsInline) {
    VRNDispatchQueue queue("VRNTest-queue");
    EXPECT_EQ(queue.label(), "VRNTest-queue");
    std::vector<int> order;
    std::atomic<int> concurrent{0};
    std::atomic<int> maxConcurrent{0};
    for (int i = 0; i < 50; ++i) {
        queue.async([&, i] {
            maxConcurrent = std::max(maxConcurrent.load(), ++concurrent);
            order.push_back(i);
            --concurrent;
        });
    }
    bool inline_ = false;
    queue.sync([&] { queue.sync([&] { inline_ = queue.isCurrent(); }); });
    EXPECT_TRUE(inline_);
    EXPECT_EQ(order.size(), 50u);
    EXPECT_EQ(maxConcurrent, 1);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(DispatchGroup, WaitsForEveryCallbackAndSemaphoreCounts) {
    VRNDispatchGroup group;
    VRNDispatchQueue queue("VRNTest-group");
    std::atomic<int> answered{0};
    for (int i = 0; i < 5; ++i) {
        group.enter();
        queue.async([&] {
            ++answered;
            group.leave();
        });
    }
    group.wait();
    EXPECT_EQ(answered, 5);

    VRNSemaphore semaphore(0);
    EXPECT_FALSE(semaphore.waitFor(std::chrono::milliseconds(0)));
    semaphore.signal();
    semaphore.signal();
    EXPECT_TRUE(semaphore.waitFor(std::chrono::milliseconds(0)));
    semaphore.wait();
    EXPECT_FALSE(semaphore.waitFor(std::chrono::milliseconds(0)));
}

TEST(NotificationCenter, DeliversByNameAndStopsAfterRemovalEvenMidPost) {
    VRNNotificationCenter center;
    std::vector<std::string> seen;
    VRNNotificationCenter::Token second = 0;
    center.addObserver("A", [&](const VRNNotification& n) {
        seen.push_back("first:" + n.name);
        center.removeObserver(second);
    });
    second = center.addObserver("A", [&](const VRNNotification&) { seen.push_back("second"); });
    auto all =
        center.addObserver("", [&](const VRNNotification& n) { seen.push_back("all:" + n.name); });
    center.post("A");
    center.post("B");
    center.removeObserver(all);
    center.post("B");
    EXPECT_EQ(seen, (std::vector<std::string>{"first:A", "all:A", "all:B"}));
}

}  // namespace
}  // namespace vorna
