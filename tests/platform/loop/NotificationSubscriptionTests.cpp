#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/loop/VRNNotificationCenter.h"

namespace vorna {
namespace {

struct Counter {
    int calls = 0;
    void hear() { ++calls; }
};

TEST(NotificationSubscription, ObservesUntilItGoesOrIsReset) {
    VRNNotificationCenter center;
    int heard = 0;
    {
        auto subscription = center.subscribe("A", [&](const VRNNotification&) { ++heard; });
        EXPECT_TRUE(subscription.isActive());
        center.post("A");
        center.post("B");
    }
    center.post("A");
    EXPECT_EQ(heard, 1);

    auto subscription = center.subscribe("A", [&](const VRNNotification&) { ++heard; });
    subscription.reset();
    EXPECT_FALSE(subscription);
    subscription.reset();  // nothing left to remove
    center.post("A");
    EXPECT_EQ(heard, 1);
}

TEST(NotificationSubscription, AMovedFromSubscriptionRemovesNothing) {
    VRNNotificationCenter center;
    std::vector<std::string> heard;
    auto first = center.subscribe("A", [&](const VRNNotification&) { heard.push_back("first"); });
    VRNNotificationCenter::Subscription kept;
    {
        auto moved = std::move(first);
        EXPECT_FALSE(first.isActive());
        first.reset();
        kept = std::move(moved);
    }
    center.post("A");
    EXPECT_EQ(heard, (std::vector<std::string>{"first"}));

    // Assigned over, a subscription gives up the observer it had.
    kept = center.subscribe("A", [&](const VRNNotification&) { heard.push_back("second"); });
    center.post("A");
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "second"}));

    // Owners keep theirs in vectors: growing one moves them, which must not unsubscribe.
    int grown = 0;
    std::vector<VRNNotificationCenter::Subscription> many;
    for (int i = 0; i < 20; ++i) {
        many.push_back(center.subscribe("B", [&](const VRNNotification&) { ++grown; }));
    }
    center.post("B");
    EXPECT_EQ(grown, 20);
    many.clear();
    center.post("B");
    EXPECT_EQ(grown, 20);
}

TEST(NotificationSubscription, OfAWeakTargetCallsItsMethodWhileItLives) {
    VRNNotificationCenter center;
    auto counter = std::make_shared<Counter>();
    auto subscription = center.subscribe("A", std::weak_ptr<Counter>(counter), &Counter::hear);
    center.post("A");
    EXPECT_EQ(counter->calls, 1);
    std::weak_ptr<Counter> gone = counter;
    counter.reset();
    center.post("A");  // the target is gone; the subscription still goes cleanly
    EXPECT_TRUE(gone.expired());
}

}  // namespace
}  // namespace vorna
