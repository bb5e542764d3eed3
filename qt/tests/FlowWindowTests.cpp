#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>

#include "qt/flow/VRNFlowDisplayWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNViewController.h"
#include "qt/tests/ManualAnimationClock.h"
#include "qt/tests/QtTestSupport.h"

namespace vorna {
namespace {

// A screen of one colour with a button in the middle, counting what happens to it.
class SolidScreen : public VRNViewController {
public:
    explicit SolidScreen(QColor color, QString title = {}) : color_(color), title_(title) {}
    QWidget* loadView() override {
        auto* view = new QWidget();
        view->setAutoFillBackground(true);
        QPalette palette = view->palette();
        palette.setColor(QPalette::Window, color_);
        view->setPalette(palette);
        button = new QPushButton(QStringLiteral("Tap"), view);
        button->setGeometry(100, 300, 100, 40);
        QObject::connect(button, &QPushButton::clicked, [this] { ++taps; });
        return view;
    }
    void viewDidLoad() override {
        if (!title_.isEmpty()) {
            setTitleView(new QLabel(title_));
        }
    }
    void viewDidAppear(bool) override { ++appeared; }

    QPointer<QPushButton> button;
    int taps = 0;
    int appeared = 0;

private:
    QColor color_;
    QString title_;
};

QColor pixel(QWidget& widget, int x, int y) {
    return widget.grab().toImage().pixelColor(x, y);
}

bool near(const QColor& a, const QColor& b, int tolerance = 6) {
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

class FlowWindowTest : public testing::Test {
protected:
    void SetUp() override {
        host.setGeometry(0, 0, 375, 812);
        host.setStyleSheet(QStringLiteral("background: #ff0000"));
        test::showWindow(&host);
        root = std::make_shared<SolidScreen>(QColor(0, 0, 255), QStringLiteral("Root"));
        stack = std::make_shared<VRNNavigationStack>(root);
        window = std::make_unique<VRNFlowDisplayWindow>(2.0);
        window->setGeometry(0, 0, 375, 812);
        window->setRootViewController(stack);
    }

    test::ManualAnimationClock clock;
    QWidget host;
    std::shared_ptr<SolidScreen> root;
    std::shared_ptr<VRNNavigationStack> stack;
    std::unique_ptr<VRNFlowDisplayWindow> window;
};

TEST_F(FlowWindowTest, FadesInFromNinetyPercentOverWhatLayBeneath) {
    window->makeKeyAndVisible();
    (void)QTest::qWaitForWindowExposed(window.get());
    window->setAppearance({1.0, 0.9, 0.0});
    EXPECT_TRUE(window->isShowingTransition());
    // Nothing of the flow yet: the host as it was beneath the window.
    EXPECT_TRUE(near(pixel(*window, 187, 406), Qt::red));

    int done = 0;
    bool finished = false;
    window->animate({1.0, 1.0, 1.0}, 0.4, 0.0, VRNAnimationCurve::EaseOut, [&](bool result) {
        ++done;
        finished = result;
    });
    clock.advance(100);
    const VRNWindowAppearance early = window->appearance();
    EXPECT_GT(early.scale, 0.9);
    EXPECT_LT(early.scale, 1.0);
    // Half-way in time, an easing-out curve is well past half-way in look.
    clock.advance(100);
    EXPECT_GT(window->appearance().contentAlpha, 0.6);
    const QColor middle = pixel(*window, 187, 406);
    EXPECT_GT(middle.blue(), 128);
    EXPECT_GT(middle.red(), 10);  // still partly the host
    // The corner lies outside the scaled content: the host shows there.
    EXPECT_TRUE(near(pixel(*window, 3, 3), Qt::red));
    EXPECT_EQ(done, 0);

    clock.advance(250);  // the rest, and the frame on which the clock started
    test::settle();
    EXPECT_EQ(done, 1);
    EXPECT_TRUE(finished);
    EXPECT_EQ(window->appearance(), (VRNWindowAppearance{1.0, 1.0, 1.0}));
    EXPECT_FALSE(window->isShowingTransition());
    EXPECT_TRUE(near(pixel(*window, 3, 200), Qt::blue));
}

TEST_F(FlowWindowTest, TakesNoInputWhileItAnimatesAndFadesOutToNothing) {
    window->makeKeyAndVisible();
    (void)QTest::qWaitForWindowExposed(window.get());
    window->animate({0.0, 1.0, 1.0}, 0.4, 0.0, VRNAnimationCurve::EaseIn,
                    [this](bool) { window->setHidden(true); });
    clock.advance(50);
    QTest::mouseClick(window.get(), Qt::LeftButton, {}, QPoint(150, 320));
    EXPECT_EQ(root->taps, 0);
    // Easing in: slow at first.
    EXPECT_GT(window->appearance().alpha, 0.9);
    clock.advance(400);
    test::settle();
    EXPECT_TRUE(window->isHidden());
    EXPECT_FALSE(window->isVisible());
}

TEST_F(FlowWindowTest, ANewAnimationCutsTheRunningOneShort) {
    window->makeKeyAndVisible();
    std::vector<bool> results;
    window->animate({0.0, 1.0, 1.0}, 0.4, 0.0, VRNAnimationCurve::Linear,
                    [&](bool finished) { results.push_back(finished); });
    clock.advance(200);
    EXPECT_NEAR(window->appearance().alpha, 0.5, 0.05);
    window->animate({1.0, 1.0, 1.0}, 0.4, 0.0, VRNAnimationCurve::Linear,
                    [&](bool finished) { results.push_back(finished); });
    clock.advance(450);
    test::settle();
    EXPECT_EQ(results, (std::vector<bool>{false, true}));
    EXPECT_EQ(window->appearance().alpha, 1.0);
}

TEST(FlowAnimationCurves, AreThePlatformsCubicCurves) {
    const auto at = [](VRNAnimationCurve curve, double t) {
        return VRNFlowDisplayWindow::easingCurve(curve).valueForProgress(t);
    };
    EXPECT_NEAR(at(VRNAnimationCurve::EaseIn, 0.5), 0.3153, 0.01);
    EXPECT_NEAR(at(VRNAnimationCurve::EaseOut, 0.5), 0.6847, 0.01);
    EXPECT_NEAR(at(VRNAnimationCurve::EaseInOut, 0.5), 0.5, 0.01);
    EXPECT_NEAR(at(VRNAnimationCurve::Linear, 0.25), 0.25, 1e-9);
    EXPECT_NEAR(at(VRNAnimationCurve::EaseOut, 1.0), 1.0, 1e-9);
}

TEST_F(FlowWindowTest, PushSlidesTheNewScreenInWithItsBarItemsAndPopLetsItGo) {
    window->makeKeyAndVisible();
    (void)QTest::qWaitForWindowExposed(window.get());
    stack->setBarAppearance(true, true, VRNColor::withRGB(255, 255, 255));
    EXPECT_EQ(root->titleView()->parentWidget(), stack->navigationBar());

    auto next = std::make_shared<SolidScreen>(QColor(0, 255, 0), QStringLiteral("Next"));
    std::weak_ptr<SolidScreen> weakNext = next;
    stack->pushViewController(next, true);
    EXPECT_TRUE(stack->isTransitioning());
    EXPECT_EQ(next->view()->x(), 375);  // starts off the right edge
    EXPECT_TRUE(root->titleView()->isHidden());
    EXPECT_TRUE(next->titleView()->isVisible());
    clock.advance(175);
    EXPECT_GT(next->view()->x(), 0);
    EXPECT_LT(next->view()->x(), 375);
    EXPECT_LT(root->view()->x(), 0);  // the screen below moves a little to the left
    clock.advance(200);
    test::settle();
    EXPECT_FALSE(stack->isTransitioning());
    EXPECT_EQ(next->view()->x(), 0);
    EXPECT_EQ(next->appeared, 1);
    // A translucent bar: the screen runs under it and keeps its content below.
    EXPECT_EQ(next->view()->y(), 0);
    EXPECT_EQ(next->safeAreaTop(), VRNNavigationStack::kBarHeight);

    next.reset();
    stack->popViewControllerAnimated(true);
    clock.advance(400);
    test::settle();
    EXPECT_EQ(stack->viewControllers().size(), 1u);
    EXPECT_EQ(root->appeared, 1);
    EXPECT_TRUE(root->titleView()->isVisible());
    EXPECT_TRUE(weakNext.expired());
    QTest::mouseClick(root->button, Qt::LeftButton);
    EXPECT_EQ(root->taps, 1);
}

TEST_F(FlowWindowTest, APresentedScreenCoversTheStackAndItsBar) {
    window->makeKeyAndVisible();
    auto popup = std::make_shared<SolidScreen>(QColor(255, 255, 0));
    stack->presentViewController(popup, false);
    EXPECT_EQ(stack->presentedViewController(), popup.get());
    EXPECT_EQ(popup->view()->geometry(), QRect(0, 0, 375, 812));
    EXPECT_EQ(popup->appeared, 1);
    QTest::mouseClick(popup->button, Qt::LeftButton);
    EXPECT_EQ(popup->taps, 1);
}

}  // namespace
}  // namespace vorna
