// The invocation manager over a toolkit that only counts what it is asked to set up, with the
// test's own notification centre and a virtual main loop.
#include <gtest/gtest.h>

#include "invocation/VornaInvocationManager.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNVirtualRunLoop.h"

namespace vorna {
namespace {

// The windows of a toolkit: keeps what each set-up got, so the test can tap and swipe.
struct CountingWindows : VRNInvocationPlatform {
    void setupFloatingButtonWindow(std::function<void()> invoke) override {
        buttonTaps.push_back(std::move(invoke));
    }
    void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) override {
        edgeHandlers.push_back(std::move(handler));
    }
    std::vector<std::function<void()>> buttonTaps;
    std::vector<std::shared_ptr<VRNEdgeSwipeHandler>> edgeHandlers;
};

class InvocationManagerTest : public testing::Test {
protected:
    void SetUp() override {
        VRNRunLoop::setMain(loop);
        VornaInvocationManager::setPlatform(windows);
    }
    void TearDown() override {
        VornaInvocationManager::setPlatform(nullptr);
        VRNRunLoop::setMain(hostLoop);
    }

    std::shared_ptr<VornaInvocationManager> started(VornaInvocationEvent events) {
        auto manager = std::make_shared<VornaInvocationManager>(center);
        manager->setInvokeHandler([this] { ++invocations; });
        manager->setInvocationEvents(events);
        manager->start();
        loop->drain();
        return manager;
    }
    void takeScreenshot() { center.post(VRNApplicationUserDidTakeScreenshotNotification); }

    const std::shared_ptr<VRNRunLoop> hostLoop = VRNRunLoop::main();
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    std::shared_ptr<CountingWindows> windows = std::make_shared<CountingWindows>();
    VRNNotificationCenter center;
    int invocations = 0;
};

TEST_F(InvocationManagerTest, EachBitSetsUpItsOwnSourceAndNothingElse) {
    struct Case {
        VornaInvocationEvent events;
        size_t buttons;
        size_t edgePans;
        int perScreenshot;
        int perShake;
    };
    const Case cases[] = {
        {VornaInvocationEventMotion, 0, 0, 0, 1},
        {VornaInvocationEventFloatingButton, 1, 0, 0, 0},
        {VornaInvocationEventScreenshot, 0, 0, 1, 0},
        {VornaInvocationEventRightEdgePan, 0, 1, 0, 0},
        {VornaInvocationEventReserved, 0, 0, 0, 0},
        {0, 0, 0, 0, 0},
        // Each of several bits once.
        {VornaInvocationEventMotion | VornaInvocationEventFloatingButton |
             VornaInvocationEventScreenshot | VornaInvocationEventRightEdgePan,
         1, 1, 1, 1},
        {31, 1, 1, 1, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("events " + std::to_string(c.events));
        windows->buttonTaps.clear();
        windows->edgeHandlers.clear();
        invocations = 0;
        const auto manager = started(c.events);
        EXPECT_EQ(windows->buttonTaps.size(), c.buttons);
        EXPECT_EQ(windows->edgeHandlers.size(), c.edgePans);

        takeScreenshot();
        EXPECT_EQ(invocations, c.perScreenshot) << "screenshot";
        manager->motionBegan(1);
        EXPECT_EQ(invocations, c.perScreenshot + c.perShake) << "shake";
        // Other motions are no shake.
        manager->motionBegan(0);
        manager->motionBegan(2);
        EXPECT_EQ(invocations, c.perScreenshot + c.perShake);
    }
}

TEST_F(InvocationManagerTest, EverySourceInvokesOnceAndTheEdgePanOnlyBeyondFortyPoints) {
    const auto manager = started(VornaInvocationEventMotion | VornaInvocationEventFloatingButton |
                                 VornaInvocationEventScreenshot | VornaInvocationEventRightEdgePan);
    ASSERT_EQ(windows->buttonTaps.size(), 1u);
    ASSERT_EQ(windows->edgeHandlers.size(), 1u);
    ASSERT_EQ(windows->edgeHandlers[0], manager->edgeSwipeHandler());

    manager->motionBegan(1);
    EXPECT_EQ(invocations, 1);
    takeScreenshot();
    EXPECT_EQ(invocations, 2);
    windows->buttonTaps[0]();
    EXPECT_EQ(invocations, 3);

    auto& edge = *windows->edgeHandlers[0];
    int cancels = 0;
    const auto cancel = [&] { ++cancels; };
    edge.swiped(VRNPanState::Changed, -40.0, cancel);
    EXPECT_EQ(invocations, 3) << "40 points is not beyond 40";
    EXPECT_EQ(cancels, 0);
    // Only a pan that is moving counts; its start and end do not, however far they are.
    edge.swiped(VRNPanState::Began, -300, cancel);
    edge.swiped(VRNPanState::Ended, -300, cancel);
    edge.swiped(VRNPanState::Cancelled, -300, cancel);
    EXPECT_EQ(invocations, 3);
    edge.swiped(VRNPanState::Changed, -40.1, cancel);
    EXPECT_EQ(invocations, 4);
    EXPECT_EQ(cancels, 1) << "the swipe that opened a report is ended at once";

    // The invocation still reaches a host that changed its handler after the start.
    int replaced = 0;
    manager->setInvokeHandler([&] { ++replaced; });
    manager->motionBegan(1);
    EXPECT_EQ(replaced, 1);
    EXPECT_EQ(invocations, 4);
}

TEST_F(InvocationManagerTest, ChangingTheEventsAfterTheStartChangesOnlyTheShake) {
    const auto manager = started(VornaInvocationEventMotion | VornaInvocationEventScreenshot);
    manager->setInvocationEvents(VornaInvocationEventFloatingButton);
    EXPECT_TRUE(manager->containsVornaInvocationEvent(VornaInvocationEventFloatingButton));
    EXPECT_FALSE(manager->containsVornaInvocationEvent(VornaInvocationEventMotion));
    // Any of several bits answers yes.
    EXPECT_TRUE(manager->containsVornaInvocationEvent(VornaInvocationEventMotion |
                                                      VornaInvocationEventFloatingButton));
    EXPECT_TRUE(windows->buttonTaps.empty()) << "set up only at the start";

    manager->motionBegan(1);
    EXPECT_EQ(invocations, 0);
    takeScreenshot();
    EXPECT_EQ(invocations, 1) << "the screenshot observer of the start stays";
}

TEST_F(InvocationManagerTest, AManagerThatIsGoneInvokesNothingAndObservesNothing) {
    auto manager = started(VornaInvocationEventFloatingButton | VornaInvocationEventScreenshot |
                           VornaInvocationEventRightEdgePan);
    const auto tap = windows->buttonTaps.at(0);
    const auto edge = windows->edgeHandlers.at(0);
    manager.reset();
    tap();
    takeScreenshot();
    edge->swiped(VRNPanState::Changed, -300, nullptr);
    EXPECT_EQ(invocations, 0);
}

}  // namespace
}  // namespace vorna
