#include <gtest/gtest.h>

#include <memory>

#include "flow/VRNFloatingButtonTracker.h"
#include "flow/VRNFloatingButtonVM.h"
#include "state/VRNAppRepository.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

class FloatingButtonVMTest : public testing::Test {
protected:
    test::TempDir dir;
    VRNAppRepository repository{std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite")};
    const VRNRect phone{0, 0, 375, 812};
};

TEST_F(FloatingButtonVMTest, FirstPlaceFallsBackOnEachMissingCoordinate) {
    EXPECT_EQ(VRNFloatingButtonVM::initialButtonFrame(repository, 812), (VRNRect{15, 727, 70, 70}));
    // Without a screen the button sits above the top edge, where nobody sees it.
    EXPECT_EQ(VRNFloatingButtonVM::initialButtonFrame(repository, 0), (VRNRect{15, -85, 70, 70}));
    repository.setFloatingButtonFrameX(200);
    EXPECT_EQ(VRNFloatingButtonVM::initialButtonFrame(repository, 812),
              (VRNRect{200, 727, 70, 70}));
}

TEST_F(FloatingButtonVMTest, AStoredPlaceOffTheScreenIsBroughtBackWithoutStoring) {
    // Stored on a larger screen, shown on 1280 × 1024.
    repository.setFloatingButtonFrameX(1930);
    repository.setFloatingButtonFrameY(1740);
    EXPECT_EQ(VRNFloatingButtonVM::placedButtonFrame(repository, {1280, 1024}),
              (VRNRect{1210, 954, 70, 70}));
    repository.setFloatingButtonFrameX(-40);
    EXPECT_EQ(VRNFloatingButtonVM::placedButtonFrame(repository, {1280, 1024}),
              (VRNRect{0, 954, 70, 70}));
    EXPECT_EQ(repository.floatingButtonFrameX(), -40.0);
    EXPECT_EQ(repository.floatingButtonFrameY(), 1740.0);
    // A place on the screen stays exactly where it is; without a screen nothing is moved.
    repository.setFloatingButtonFrameX(100.5);
    repository.setFloatingButtonFrameY(200.25);
    EXPECT_EQ(VRNFloatingButtonVM::placedButtonFrame(repository, {1280, 1024}),
              (VRNRect{100.5, 200.25, 70, 70}));
    repository.removeObjectForKey("ketrano.floatingButtonFrameY");
    EXPECT_EQ(VRNFloatingButtonVM::placedButtonFrame(repository, {}),
              (VRNRect{100.5, -85, 70, 70}));
}

TEST_F(FloatingButtonVMTest, DragStepsStayOnScreenAndOnlyTheEndIsStoredAsFloats) {
    const VRNRect start{15, 727, 70, 70};
    const auto step = [&](VRNPanState state, double tx, double ty) {
        return VRNFloatingButtonVM::pannedButtonFrame(state, start, tx, ty, phone, repository);
    };
    EXPECT_EQ(step(VRNPanState::Changed, -16, 16), (VRNRect{0, 742, 70, 70}));
    EXPECT_EQ(step(VRNPanState::Began, 290, -727), (VRNRect{305, 0, 70, 70}));  // at the edges
    EXPECT_EQ(step(VRNPanState::Cancelled, 10.5, -0.25), (VRNRect{25.5, 726.75, 70, 70}));
    EXPECT_FALSE(repository.floatingButtonFrameX());
    EXPECT_FALSE(repository.floatingButtonFrameY());

    step(VRNPanState::Ended, 85.1, -526.7);
    EXPECT_EQ(repository.floatingButtonFrameX(), static_cast<double>(100.1f));
    EXPECT_EQ(repository.floatingButtonFrameY(), static_cast<double>(200.3f));
}

TEST_F(FloatingButtonVMTest, TapCallsTheInstalledCallbackIfAny) {
    VRNFloatingButtonVM viewModel;
    viewModel.didPressVornaButton();  // nothing installed: nothing happens
    int calls = 0;
    viewModel.setVornaFloatingButtonInvocationCallback([&] { ++calls; });
    viewModel.didPressVornaButton();
    EXPECT_EQ(calls, 1);
}

class FloatingButtonTrackerTest : public testing::Test {
protected:
    std::vector<std::string> events;
    VRNFloatingButtonTracker tracker{VRNFloatingButtonTracker::Callbacks{
        [this](VRNPanState state, VRNPoint step) {
            events.push_back("pan " + std::to_string(static_cast<int>(state)) + " " +
                             std::to_string(static_cast<int>(step.x)) + "," +
                             std::to_string(static_cast<int>(step.y)));
        },
        [this] { events.push_back("tap"); },
        [this](bool down) { events.push_back(down ? "down" : "up"); },
        [this](bool watching) { events.push_back(watching ? "watch" : "unwatch"); }}};
};

TEST_F(FloatingButtonTrackerTest, APressThatStaysIsATapOnlyWhenReleasedOnTheButton) {
    tracker.press({100, 100});
    tracker.move({103, 100}, 10);  // less than the drag distance
    tracker.release({103, 100}, true);
    EXPECT_EQ(events, (std::vector<std::string>{"down", "watch", "up", "unwatch", "tap"}));

    events.clear();
    tracker.press({100, 100});
    tracker.release({100, 100}, false);
    EXPECT_EQ(events, (std::vector<std::string>{"down", "watch", "up", "unwatch"}));
}

TEST_F(FloatingButtonTrackerTest, AMoveBeyondTheDragDistanceDragsWithStepsSinceTheLastReport) {
    tracker.press({100, 100});
    tracker.move({112, 100}, 10);
    tracker.move({120, 90}, 10);
    tracker.release({121, 95}, true);
    EXPECT_EQ(events, (std::vector<std::string>{"down", "watch", "up", "pan 1 12,0", "pan 2 8,-10",
                                                "up", "unwatch", "pan 3 1,5"}));
    EXPECT_FALSE(tracker.isTracking());
}

TEST_F(FloatingButtonTrackerTest, ACancelledDragIgnoresItsRelease) {
    tracker.press({0, 0});
    tracker.move({20, 0}, 10);
    events.clear();
    tracker.cancel();
    tracker.release({30, 0}, true);
    tracker.move({40, 0}, 10);  // no press under way: nothing
    EXPECT_EQ(events, (std::vector<std::string>{"up", "unwatch", "pan 4 0,0"}));
    // The next press starts afresh.
    events.clear();
    tracker.press({0, 0});
    tracker.release({0, 0}, true);
    EXPECT_EQ(events.back(), "tap");
}

}  // namespace
}  // namespace vorna
