#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QPushButton>
#include <QTest>

#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonView.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "qt/platform/VRNWindowStack.h"
#include "qt/tests/QtTestSupport.h"

namespace vorna {
namespace {

class FloatingButtonTest : public testing::Test {
protected:
    void SetUp() override {
        host.setGeometry(0, 0, 375, 812);
        hostButton = new QPushButton(QStringLiteral("Beneath"), &host);
        hostButton->setGeometry(150, 300, 100, 40);
        QObject::connect(hostButton, &QPushButton::clicked, [this] { ++hostClicks; });
        test::showWindow(&host);
    }

    // One launch of the host: a repository over the same defaults file, and the floating
    // button as the invocation manager sets it up.
    std::unique_ptr<VRNFloatingButtonWindow> launch() {
        repository = std::make_shared<VRNAppRepository>(
            std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
        auto viewModel = std::make_shared<VRNFloatingButtonVM>();
        viewModel->setVornaFloatingButtonInvocationCallback([this] { ++taps; });
        auto window = std::make_unique<VRNFloatingButtonWindow>();
        const VRNScreenInfo info = VRNDeviceProvider::current()->mainScreen();
        window->setGeometry(0, 0, static_cast<int>(info.width), static_cast<int>(info.height));
        window->setRootViewController(new VRNFloatingButtonVC(viewModel, repository));
        if (info.width > 0 && info.height > 0) {
            test::showWindow(window.get(), false);
        } else {
            window->show();
            test::settle();
        }
        return window;
    }

    static QRectF frameOf(VRNFloatingButtonWindow& window) {
        return window.rootViewController()->getMainView()->buttonFrame();
    }

    test::ScopedScreen screen{375, 812};
    test::TempDir dir;
    std::shared_ptr<VRNAppRepository> repository;
    QWidget host;
    QPushButton* hostButton = nullptr;
    int hostClicks = 0;
    int taps = 0;
};

TEST_F(FloatingButtonTest, FirstLaunchPutsTheButtonAtTheBottomLeft) {
    auto window = launch();
    EXPECT_EQ(frameOf(*window), QRectF(15, 727, 70, 70));
    const QAbstractButton* button = window->rootViewController()->getMainView()->vornaButton();
    EXPECT_EQ(button->geometry(), QRect(15, 727, 70, 70));
    // The window is shaped to the button: the rest of the screen is not part of it.
    EXPECT_TRUE(window->mask().contains(QPoint(50, 762)));
    EXPECT_FALSE(window->mask().contains(QPoint(200, 200)));
    EXPECT_FALSE(window->mask().contains(QPoint(16, 728)));  // the circle's corner
}

TEST_F(FloatingButtonTest, DraggingIsKeptOnTheScreen) {
    auto window = launch();
    test::Pointer pointer(window->windowHandle());
    pointer.drag(QPointF(50, 762), QPointF(1050, 762));
    EXPECT_EQ(frameOf(*window).x(), 305);
    pointer.drag(QPointF(340, 762), QPointF(340, -500));
    EXPECT_EQ(frameOf(*window).topLeft(), QPointF(305, 0));
    EXPECT_EQ(taps, 0);  // drags are never taps
    EXPECT_EQ(repository->floatingButtonFrameX(), 305);
    EXPECT_EQ(repository->floatingButtonFrameY(), 0);
}

TEST_F(FloatingButtonTest, WhereADragEndsIsWhereTheNextLaunchPutsTheButton) {
    auto window = launch();
    test::Pointer pointer(window->windowHandle());
    pointer.press(QPointF(50, 762));
    pointer.move(QPointF(70, 700));
    EXPECT_FALSE(repository->floatingButtonFrameX());  // nothing stored while it moves
    pointer.move(QPointF(135.5, 235.25));
    pointer.release(QPointF(135.5, 235.25));
    EXPECT_EQ(frameOf(*window), QRectF(100.5, 200.25, 70, 70));
    EXPECT_EQ(repository->floatingButtonFrameX(), 100.5);
    EXPECT_EQ(repository->floatingButtonFrameY(), 200.25);

    window.reset();
    repository.reset();
    auto nextLaunch = launch();
    EXPECT_EQ(frameOf(*nextLaunch), QRectF(100.5, 200.25, 70, 70));
}

TEST_F(FloatingButtonTest, APlaceStoredOnALargerScreenIsBroughtBackUntilADragStoresANewOne) {
    test::ScopedScreen desktop{1280, 1024};
    repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    repository->setFloatingButtonFrameX(1930);
    repository->setFloatingButtonFrameY(1740);
    auto window = launch();
    EXPECT_EQ(frameOf(*window), QRectF(1210, 954, 70, 70));
    test::Pointer pointer(window->windowHandle());
    pointer.click(QPointF(1245, 989));
    EXPECT_EQ(taps, 1);
    EXPECT_EQ(repository->floatingButtonFrameX(), 1930);  // placing it stores nothing

    pointer.drag(QPointF(1245, 989), QPointF(1145, 889));
    EXPECT_EQ(repository->floatingButtonFrameX(), 1110);
    EXPECT_EQ(repository->floatingButtonFrameY(), 854);
}

TEST_F(FloatingButtonTest, CancelledDragMovesTheButtonButStoresNothing) {
    auto window = launch();
    test::Pointer pointer(window->windowHandle());
    pointer.press(QPointF(50, 762));
    pointer.move(QPointF(80, 700));
    pointer.move(QPointF(100, 650));
    QTest::keyClick(host.windowHandle(), Qt::Key_Escape);
    pointer.move(QPointF(200, 500));
    pointer.release(QPointF(200, 500));
    EXPECT_EQ(frameOf(*window), QRectF(65, 615, 70, 70));
    EXPECT_FALSE(repository->floatingButtonFrameX());
    EXPECT_FALSE(repository->floatingButtonFrameY());
    EXPECT_EQ(taps, 0);
}

TEST_F(FloatingButtonTest, ClicksBesideTheButtonReachTheWindowBeneath) {
    auto window = launch();
    test::Pointer pointer(window->windowHandle());
    pointer.click(QPointF(200, 320));
    EXPECT_EQ(hostClicks, 1);
    EXPECT_EQ(taps, 0);

    pointer.click(QPointF(50, 762));
    EXPECT_EQ(taps, 1);
    EXPECT_EQ(hostClicks, 1);

    // A press that wobbles less than the drag distance is still a tap.
    pointer.press(QPointF(40, 750));
    pointer.move(QPointF(43, 752));
    pointer.release(QPointF(43, 752));
    EXPECT_EQ(taps, 2);
    // Just outside the button's frame: the host's.
    pointer.click(QPointF(14.5, 762));
    EXPECT_EQ(taps, 2);
}

TEST_F(FloatingButtonTest, TheButtonGoesAwayWithTheHostAndComesBackWithIt) {
    auto window = launch();
    // Not above the whole screen: other applications' windows may cover it.
    EXPECT_FALSE(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));

    host.showMinimized();
    EXPECT_TRUE(test::waitUntil([&] { return window->isHidden(); }));
    EXPECT_TRUE(window->isAwayWithHost());
    host.showNormal();
    host.activateWindow();
    EXPECT_TRUE(test::waitUntil([&] { return window->isVisible(); }));
    EXPECT_FALSE(window->isAwayWithHost());
    test::Pointer pointer(window->windowHandle());
    pointer.click(QPointF(50, 762));
    EXPECT_EQ(taps, 1);

    // Hiding every window is the background too; a button the host never saw stays away.
    host.hide();
    EXPECT_TRUE(test::waitUntil([&] { return window->isHidden(); }));
    test::showWindow(&host);
    EXPECT_TRUE(test::waitUntil([&] { return window->isVisible(); }));
    window->hide();
    host.showMinimized();
    test::settle();
    host.showNormal();
    host.activateWindow();
    test::settle();
    EXPECT_TRUE(window->isHidden());
}

TEST_F(FloatingButtonTest, WithoutAScreenTheButtonSitsAboveTheTopEdge) {
    test::ScopedScreen none(0, 0, 0);
    auto window = launch();
    EXPECT_EQ(frameOf(*window), QRectF(15, -85, 70, 70));
    EXPECT_TRUE(VRNScreenshotService::sharedInstance()->takeScreenshot().isEmpty());
}

}  // namespace
}  // namespace vorna
