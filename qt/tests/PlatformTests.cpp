#include <gtest/gtest.h>

#include <QDialog>
#include <QEventLoop>
#include <QMainWindow>
#include <QScreen>
#include <QTest>

#include <mutex>
#include <thread>
#include <vector>

#include "invocation/VornaInvocationManager.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "qt/platform/VRNQtBinding.h"
#include "qt/platform/VRNQtDeviceProvider.h"
#include "qt/platform/VRNQtLifecycle.h"
#include "qt/platform/VRNQtRunLoop.h"
#include "qt/platform/VRNWindowStack.h"
#include "qt/tests/QtTestSupport.h"

namespace vorna {
namespace test {

class TopScreenDialog : public QDialog {
    Q_OBJECT
};

}  // namespace test
namespace {

using test::TopScreenDialog;
using State = VRNQtLifecycle::State;

TEST(QtBindingTests, CreatingTheApplicationInstalledTheKitsPlatform) {
    // Nothing in this program asked for it: the application's constructor did.
    ASSERT_TRUE(VRNQtBinding::runLoop());
    EXPECT_EQ(VRNRunLoop::main(), VRNQtBinding::runLoop());
    EXPECT_TRUE(VRNRunLoop::main()->isCurrent());
    EXPECT_TRUE(std::dynamic_pointer_cast<VRNQtDeviceProvider>(VRNDeviceProvider::current()));
    EXPECT_TRUE(VornaInvocationManager::platform());
    EXPECT_TRUE(VRNQtBinding::motionListener());
    EXPECT_TRUE(VRNQtBinding::lifecycle());
    bool elsewhere = true;
    std::thread([&] { elsewhere = VRNRunLoop::main()->isCurrent(); }).join();
    EXPECT_FALSE(elsewhere);
}

TEST(QtRunLoopTests, TasksFromOtherThreadsRunOnTheGuiThreadInOrder) {
    const auto loop = VRNRunLoop::main();
    std::mutex mutex;
    std::vector<int> order;
    bool allOnGui = true;
    std::thread poster([&] {
        for (int i = 0; i < 200; ++i) {
            loop->post([&, i] {
                std::lock_guard lock(mutex);
                allOnGui = allOnGui && loop->isCurrent();
                order.push_back(i);
            });
        }
    });
    poster.join();
    ASSERT_TRUE(test::waitUntil([&] {
        std::lock_guard lock(mutex);
        return order.size() == 200;
    }));
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
    }
    EXPECT_TRUE(allOnGui);
}

TEST(QtRunLoopTests, RunSyncWaitsForTheGuiThreadAndRunsInlineOnIt) {
    const auto loop = VRNRunLoop::main();
    int inlineRuns = 0;
    loop->runSync([&] { ++inlineRuns; });
    EXPECT_EQ(inlineRuns, 1);

    std::atomic<bool> ranOnGui{false};
    std::atomic<bool> returned{false};
    std::thread worker([&] {
        loop->runSync([&] { ranOnGui = loop->isCurrent(); });
        returned = true;
    });
    EXPECT_TRUE(test::waitUntil([&] { return returned.load(); }));
    worker.join();
    EXPECT_TRUE(ranOnGui);
}

TEST(QtRunLoopTests, TimersFireOnTheGuiThreadAndStopWhenInvalidated) {
    const auto loop = VRNRunLoop::main();
    int oneShot = 0;
    int repeating = 0;
    int cancelled = 0;
    const auto once = loop->scheduleTimer(0.01, false, [&] { ++oneShot; });
    const auto again = loop->scheduleTimer(0.01, true, [&] { ++repeating; });
    const auto never = loop->scheduleTimer(0.01, false, [&] { ++cancelled; });
    never->invalidate();
    EXPECT_FALSE(never->isValid());

    EXPECT_TRUE(test::waitUntil([&] { return repeating >= 3; }));
    EXPECT_EQ(oneShot, 1);
    EXPECT_FALSE(once->isValid());  // a one-shot timer is spent once it has fired
    EXPECT_TRUE(again->isValid());
    again->invalidate();
    const int seen = repeating;
    QTest::qWait(60);
    EXPECT_EQ(repeating, seen);
    EXPECT_EQ(cancelled, 0);
}

TEST(QtRunLoopTests, TimerScheduledFromAnotherThreadFiresOnTheGuiThread) {
    const auto loop = VRNRunLoop::main();
    std::atomic<bool> firedOnGui{false};
    std::atomic<bool> fired{false};
    VRNTimerPtr timer;
    std::thread([&] {
        timer = loop->scheduleTimer(0.005, false, [&] {
            firedOnGui = loop->isCurrent();
            fired = true;
        });
    }).join();
    EXPECT_TRUE(test::waitUntil([&] { return fired.load(); }));
    EXPECT_TRUE(firedOnGui);
}

TEST(QtRunLoopTests, DetachedLoopDropsWorkAndReleasesWaiters) {
    VRNQtRunLoop loop;
    int ran = 0;
    loop.post([&] { ++ran; });
    loop.detach();
    loop.post([&] { ++ran; });
    std::thread([&] { loop.runSync([&] { ++ran; }); }).join();  // returns without running
    const auto timer = loop.scheduleTimer(0, false, [&] { ++ran; });
    test::settle();
    EXPECT_EQ(ran, 0);
}

TEST(QtLifecycleTests, TransitionsPostTheNamesOfThePhone) {
    using Names = std::vector<std::string>;
    const auto names = [](State from, State to) {
        Names out;
        for (const char* name : VRNQtLifecycle::notificationsForTransition(from, to)) {
            out.emplace_back(name);
        }
        return out;
    };
    EXPECT_EQ(names(State::Active, State::Inactive),
              Names{VRNApplicationWillResignActiveNotification});
    EXPECT_EQ(names(State::Active, State::Background),
              (Names{VRNApplicationWillResignActiveNotification,
                     VRNApplicationDidEnterBackgroundNotification}));
    EXPECT_EQ(names(State::Inactive, State::Background),
              Names{VRNApplicationDidEnterBackgroundNotification});
    EXPECT_EQ(names(State::Background, State::Inactive),
              Names{VRNApplicationWillEnterForegroundNotification});
    EXPECT_EQ(names(State::Background, State::Active),
              Names{VRNApplicationWillEnterForegroundNotification});
    EXPECT_EQ(names(State::Inactive, State::Active), Names{});
    EXPECT_EQ(names(State::Active, State::Active), Names{});
    EXPECT_EQ(VRNQtLifecycle::stateFor(Qt::ApplicationSuspended), State::Background);
    EXPECT_EQ(VRNQtLifecycle::stateFor(Qt::ApplicationHidden), State::Background);
}

TEST(QtLifecycleTests, MinimisingEveryWindowOfTheHostIsTheBackground) {
    VRNNotificationCenter center;
    std::vector<std::string> posted;
    center.addObserver("", [&](const VRNNotification& n) { posted.push_back(n.name); });
    VRNQtLifecycle lifecycle(center);

    QWidget first;
    QWidget second;
    first.setGeometry(0, 0, 200, 100);
    second.setGeometry(0, 0, 200, 100);
    test::showWindow(&second);
    test::showWindow(&first);
    ASSERT_EQ(lifecycle.state(), State::Active);
    posted.clear();

    // One window left on screen: still in front.
    second.showMinimized();
    test::settle();
    EXPECT_EQ(lifecycle.state(), State::Active);
    EXPECT_TRUE(posted.empty()) << testing::PrintToString(posted);

    first.showMinimized();
    EXPECT_TRUE(test::waitUntil([&] { return lifecycle.state() == State::Background; }));
    EXPECT_EQ(posted, (std::vector<std::string>{VRNApplicationWillResignActiveNotification,
                                                VRNApplicationDidEnterBackgroundNotification}));

    posted.clear();
    first.showNormal();
    first.activateWindow();
    EXPECT_TRUE(test::waitUntil([&] { return lifecycle.state() == State::Active; }));
    EXPECT_EQ(posted, std::vector<std::string>{VRNApplicationWillEnterForegroundNotification});
}

TEST(QtDeviceProviderTests, ScreenInPointsAndPixelsAndTheScreenOnTop) {
    const auto provider = VRNDeviceProvider::current();
    const QScreen* screen = QGuiApplication::primaryScreen();
    ASSERT_TRUE(screen);
    const VRNScreenInfo info = provider->mainScreen();
    EXPECT_EQ(info.width, screen->geometry().width());
    EXPECT_EQ(info.height, screen->geometry().height());
    EXPECT_EQ(info.scale, screen->devicePixelRatio());
    EXPECT_EQ(info.nativeWidth,
              std::round(screen->geometry().width() * screen->devicePixelRatio()));

    QMainWindow main;
    main.setGeometry(0, 0, 300, 200);
    test::showWindow(&main);
    EXPECT_EQ(provider->topViewControllerName(), "QMainWindow");

    TopScreenDialog dialog;
    dialog.setModal(true);
    test::showWindow(&dialog);
    EXPECT_EQ(provider->topViewControllerName(), "vorna::test::TopScreenDialog");

    // Another thread gets the last answer the GUI thread saw.
    std::optional<std::string> fromWorker;
    std::thread([&] { fromWorker = provider->topViewControllerName(); }).join();
    EXPECT_EQ(fromWorker, "vorna::test::TopScreenDialog");
}

}  // namespace
}  // namespace vorna

#include "PlatformTests.moc"
