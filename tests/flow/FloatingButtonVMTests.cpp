#include <gtest/gtest.h>

#include <memory>

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

}  // namespace
}  // namespace vorna
