// The life-cycle calls of a host without a toolkit, through the class methods: they post the
// names the Qt layer posts, from any thread, once per change of state.
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNRunLoop.h"
#include "support/LogCapture.h"
#include "vorna/Vorna.h"

namespace vorna {
namespace {

TEST(HostLifecycle, EachChangePostsItsNamesOnceFromAnyThreadAndRepeatsAreLogged) {
    test::LogCapture log;
    std::mutex mutex;
    std::vector<std::string> posted;
    std::vector<VRNNotificationCenter::Subscription> subscriptions;
    for (const char* name :
         {VRNApplicationWillResignActiveNotification, VRNApplicationDidEnterBackgroundNotification,
          VRNApplicationWillEnterForegroundNotification}) {
        subscriptions.push_back(VRNNotificationCenter::defaultCenter().subscribe(
            name, [&, name](const VRNNotification&) {
                std::lock_guard lock(mutex);
                posted.emplace_back(name);
            }));
    }
    // Before the start, from a thread of the host's own, twice.
    std::thread([] {
        VRNVorna::hostDidEnterBackground();
        VRNVorna::hostDidEnterBackground();
    }).join();
    VRNVorna::hostWillEnterForeground();
    VRNRunLoop::main()->runSync([] {});

    std::lock_guard lock(mutex);
    EXPECT_EQ(posted, (std::vector<std::string>{"UIApplicationWillResignActiveNotification",
                                                "UIApplicationDidEnterBackgroundNotification",
                                                "UIApplicationWillEnterForegroundNotification"}));
    EXPECT_EQ(log.count("VRNVorna - The host entered the background before the kit was started: "
                        "nothing follows it yet, the state is kept for later calls"),
              1u);
    EXPECT_EQ(log.count("VRNVorna - The host is already in the background, nothing to post"), 1u);
    EXPECT_EQ(log.count("VRNVorna - The host entered the foreground before the kit was started: "
                        "nothing follows it yet, the state is kept for later calls"),
              1u);
}

}  // namespace
}  // namespace vorna
