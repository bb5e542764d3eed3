#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "invocation/VornaInvocationManager.h"
#include "qt/invocation/VRNAccelerometerShakeDetector.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VRNMotionEvent.h"
#include "qt/invocation/VRNMotionListener.h"
#include "qt/invocation/VRNQtInvocationPlatform.h"
#include "qt/invocation/VRNScreenshotFolderWatcher.h"
#include "qt/invocation/VRNWindowShakeDetector.h"
#include "qt/invocation/VornaEdgePanRecognizer.h"
#include "qt/platform/VRNQtBinding.h"
#include "qt/platform/VRNWindowStack.h"
#include "qt/tests/QtTestSupport.h"
#include "vorna/qt/VRNShake.h"

namespace vorna {
namespace {

// A host window that notes the keys that reach it.
class KeyRecorder : public QWidget {
public:
    std::vector<QKeyCombination> keys;
    std::vector<int> reportsBeforeKey;  // how many reports had opened when each key came
    const std::atomic<int>* reports = nullptr;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        keys.push_back(event->keyCombination());
        reportsBeforeKey.push_back(reports ? reports->load() : -1);
        QWidget::keyPressEvent(event);
    }
};

class InvocationTest : public testing::Test {
protected:
    void SetUp() override {
        platform = VRNQtBinding::invocationPlatform();
        ASSERT_TRUE(platform);
        shared = VornaInvocationManager::sharedInstance();
        shared->setInvocationEvents(VornaInvocationEventMotion);
        shared->setInvokeHandler(counter.display());
        host.reports = &counter.displays;
        host.setFocusPolicy(Qt::StrongFocus);
        host.setGeometry(0, 0, 375, 812);
        test::showWindow(&host);
        host.setFocus();
    }
    void TearDown() override {
        shared->setInvokeHandler(nullptr);
        shared->setInvocationEvents(VornaInvocationEventMotion);
        qDeleteAll(platform->floatingWindows());
        qDeleteAll(platform->edgePanRecognizers());
        test::settle();
    }

    // A manager of the test's own, started as the facade starts the shared one.
    std::shared_ptr<VornaInvocationManager> startManager(VornaInvocationEvent events) {
        auto manager = std::make_shared<VornaInvocationManager>();
        manager->setInvocationEvents(events);
        manager->setInvokeHandler(counter.display());
        manager->start();
        test::settle();
        return manager;
    }

    QWindow* hostWindow() { return host.windowHandle(); }

    void chord() {
        QTest::keyClick(hostWindow(), Qt::Key_B, Qt::ControlModifier | Qt::AltModifier);
        test::settle();
    }
    void printKey() {
        QTest::keyClick(hostWindow(), Qt::Key_Print);
        test::settle();
    }
    // A pan from 5 points inside the right edge, moved left by `distance` in even steps.
    void edgePan(double distance, double startX = 370) {
        test::Pointer pointer(hostWindow());
        pointer.drag(QPointF(startX, 400), QPointF(startX - distance, 400), 10);
        test::settle();
    }

    test::ScopedScreen screen{375, 812};
    test::DisplayCounter counter;
    std::shared_ptr<VRNQtInvocationPlatform> platform;
    std::shared_ptr<VornaInvocationManager> shared;
    KeyRecorder host;
};

// First of the fixture: a Print key pressed just before would make the new file its echo.
TEST_F(InvocationTest, ScreenshotsFolderOfTheDesktopOpensAReport) {
    const auto manager = startManager(VornaInvocationEventScreenshot);
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    ASSERT_TRUE(VRNQtBinding::screenshotFolderWatcher());
    ASSERT_TRUE(VRNQtBinding::screenshotFolderWatcher()->watchedFolders().contains(
        pictures + QStringLiteral("/Screenshots")));
    const auto save = [&](const QString& name) {
        QFile shot(pictures + QStringLiteral("/Screenshots/") + name);
        return shot.open(QIODevice::WriteOnly) && shot.write("png") == 3;
    };

    ASSERT_TRUE(save(QStringLiteral("Screenshot from 2024-05-01 10-00-00.png")));
    EXPECT_TRUE(test::waitUntil([&] { return counter.displays == 1; }));
    QTest::qWait(100);
    EXPECT_EQ(counter.displays, 1);

    // The Print key reached the application and the desktop saved the picture it took: one
    // screenshot, one report.
    printKey();
    EXPECT_EQ(counter.displays, 2);
    ASSERT_TRUE(save(QStringLiteral("Screenshot from 2024-05-01 10-00-01.png")));
    QTest::qWait(200);
    EXPECT_EQ(counter.displays, 2);
}

TEST_F(InvocationTest, DefaultEventsSetUpOnlyTheShake) {
    const auto manager = startManager(VornaInvocationEventMotion);
    EXPECT_TRUE(platform->floatingWindows().isEmpty());
    EXPECT_TRUE(platform->edgePanRecognizers().isEmpty());
    EXPECT_TRUE(host.findChildren<VornaEdgePanRecognizer*>().isEmpty());

    VRNNotificationCenter::defaultCenter().post(VRNApplicationUserDidTakeScreenshotNotification);
    printKey();
    edgePan(300);
    EXPECT_EQ(counter.displays, 0);

    chord();
    EXPECT_EQ(counter.displays, 1);
}

TEST_F(InvocationTest, ShakeGesturesReachDisplayAndThePassOnUnchanged) {
    chord();
    EXPECT_EQ(counter.displays, 1);
    // The chord still reaches the host, as every other key does.
    ASSERT_FALSE(host.keys.empty());
    EXPECT_EQ(host.keys.back(), Qt::ControlModifier | Qt::AltModifier | Qt::Key_B);

    // Not the chord: no shake.
    QTest::keyClick(hostWindow(), Qt::Key_B, Qt::ControlModifier);
    QTest::keyClick(hostWindow(), Qt::Key_B,
                    Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier);
    test::settle();
    EXPECT_EQ(counter.displays, 1);

    // A motion event from the accelerometer, or from the host through its public call, to the
    // key window or to the one it names.
    VRNMotionListener::deliverShake();
    EXPECT_EQ(counter.displays, 2);
    test::settle();  // the finished flow is let go of on the loop; until then a shake does nothing
    VRNDeliverShake();
    test::settle();
    VRNDeliverShake(hostWindow());
    EXPECT_EQ(counter.displays, 4);
    VRNMotionEvent notAShake(VRNMotionEvent::MotionNone);
    QCoreApplication::sendEvent(hostWindow(), &notAShake);
    EXPECT_EQ(counter.displays, 4);

    // The selected events are read on each motion.
    shared->setInvocationEvents(0);
    chord();
    VRNDeliverShake(hostWindow());
    EXPECT_EQ(counter.displays, 4);
}

TEST_F(InvocationTest, ShakingTheWindowLeftRightLeftIsAShake) {
    const int x = host.x();
    for (int to : {x - 60, x, x - 60}) {
        host.move(to, host.y());
        test::settle();
    }
    EXPECT_EQ(counter.displays, 1);

    // Two legs are a move there and back, not a shake.
    for (int to : {x, x - 60}) {
        host.move(to, host.y());
        test::settle();
    }
    EXPECT_EQ(counter.displays, 1);
}

TEST_F(InvocationTest, ThreeQuickLegsAfterTheWindowSatStillAreAShake) {
    VRNMotionListener* listener = VRNQtBinding::motionListener();
    ASSERT_TRUE(listener);
    double now = 100;
    listener->setClock([&now] { return now; });
    const int x = host.x();
    host.move(x + 1, host.y());  // the window's last move before it rests
    test::settle();
    now += 2.0;
    for (int to : {x - 60, x, x - 60}) {
        now += 0.05;
        host.move(to, host.y());
        test::settle();
    }
    listener->setClock(nullptr);
    EXPECT_EQ(counter.displays, 1);
}

TEST_F(InvocationTest, PrintKeyOpensAReportOnceTheKeyIsHandled) {
    const auto manager = startManager(VornaInvocationEventScreenshot);
    printKey();
    EXPECT_EQ(counter.displays, 1);
    // The host got the key before the report opened.
    ASSERT_FALSE(host.keys.empty());
    EXPECT_EQ(host.keys.back().key(), Qt::Key_Print);
    EXPECT_EQ(host.reportsBeforeKey.back(), 0);
}

TEST_F(InvocationTest, FloatingButtonWindowStandsAboveTheHostWithoutTakingTheFocus) {
    const auto manager = startManager(VornaInvocationEventFloatingButton);
    ASSERT_EQ(platform->floatingWindows().size(), 1);
    VRNFloatingButtonWindow* window = platform->floatingWindows().front();
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->geometry(), QRect(0, 0, 375, 812));
    EXPECT_EQ(VRNWindowStack::windowLevel(window), VRNWindowStack::VRNWindowLevelNormal + 1);
    EXPECT_EQ(VRNWindowStack::windows().back(), window);
    EXPECT_EQ(VRNWindowStack::keyWindow(), &host);
    EXPECT_TRUE(host.isActiveWindow());

    test::Pointer(window->windowHandle()).click(QPointF(50, 762));
    EXPECT_EQ(counter.displays, 1);
}

TEST_F(InvocationTest, RightEdgePanOpensOneReportOnceBeyondFortyPoints) {
    const auto manager = startManager(VornaInvocationEventRightEdgePan);
    ASSERT_EQ(platform->edgePanRecognizers().size(), 1);
    EXPECT_EQ(platform->edgePanRecognizers().front()->view(), &host);

    edgePan(40.0);
    EXPECT_EQ(counter.displays, 0);
    edgePan(40.1);
    EXPECT_EQ(counter.displays, 1);
    edgePan(300);
    EXPECT_EQ(counter.displays, 2);

    // Not from the edge, or not across: nothing.
    edgePan(300, 300);
    test::Pointer pointer(hostWindow());
    pointer.drag(QPointF(370, 100), QPointF(370, 700));
    test::settle();
    EXPECT_EQ(counter.displays, 2);
}

TEST_F(InvocationTest, EveryHostWindowGetsTheEdgePanWhenItAppears) {
    host.hide();
    test::settle();
    auto manager = startManager(VornaInvocationEventRightEdgePan | VornaInvocationEventFloatingButton);
    EXPECT_TRUE(platform->edgePanRecognizers().isEmpty());

    // The main window shown after the start, then a window the host opens later.
    test::showWindow(&host);
    QWidget later;
    later.setGeometry(0, 0, 375, 812);
    test::showWindow(&later);
    ASSERT_EQ(platform->edgePanRecognizers().size(), 2);
    test::Pointer pointer(later.windowHandle());
    pointer.drag(QPointF(370, 400), QPointF(70, 400), 10);
    test::settle();
    EXPECT_EQ(counter.displays, 1);

    // Shown again, it keeps its one pan: one swipe, one report. The kit's windows get none.
    later.hide();
    test::showWindow(&later);
    pointer.drag(QPointF(370, 400), QPointF(70, 400), 10);
    test::settle();
    EXPECT_EQ(counter.displays, 2);
    EXPECT_EQ(platform->edgePanRecognizers().size(), 2);
    ASSERT_EQ(platform->floatingWindows().size(), 1);
    EXPECT_TRUE(platform->floatingWindows().front()->findChildren<VornaEdgePanRecognizer*>().isEmpty());

    // Once the manager is gone, new windows are left alone.
    manager.reset();
    QWidget afterwards;
    afterwards.setGeometry(0, 0, 375, 812);
    test::showWindow(&afterwards);
    EXPECT_EQ(platform->edgePanRecognizers().size(), 2);
}

TEST_F(InvocationTest, ReservedBitAndNoBitsSetUpNothing) {
    const auto reserved = startManager(VornaInvocationEventReserved);
    const auto none = startManager(0);
    EXPECT_TRUE(platform->floatingWindows().isEmpty());
    EXPECT_TRUE(platform->edgePanRecognizers().isEmpty());
    printKey();
    EXPECT_EQ(counter.displays, 0);
}

TEST(ScreenshotFolderWatcherTests, OnlyNewPicturesNamedOrPlacedAsScreenshotsCount) {
    QTemporaryDir home;
    const QString pictures = home.filePath(QStringLiteral("Pictures"));
    QDir().mkpath(pictures);
    const auto write = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write("x") == 1;
    };
    ASSERT_TRUE(write(pictures + QStringLiteral("/Screenshot old.png")));
    bool inFront = true;
    VRNScreenshotFolderWatcher watcher({pictures}, [&] { return inFront; });
    QSignalSpy taken(&watcher, &VRNScreenshotFolderWatcher::screenshotTaken);

    ASSERT_TRUE(write(pictures + QStringLiteral("/holiday.png")));
    ASSERT_TRUE(write(pictures + QStringLiteral("/notes about screenshots.txt")));
    ASSERT_TRUE(write(pictures + QStringLiteral("/.Screenshot partial.png")));
    ASSERT_TRUE(write(pictures + QStringLiteral("/Screenshot from today.png")));
    ASSERT_TRUE(test::waitUntil([&] { return taken.count() >= 1; }));
    QTest::qWait(100);
    ASSERT_EQ(taken.count(), 1);
    EXPECT_TRUE(
        taken.at(0).at(0).toString().endsWith(QStringLiteral("/Screenshot from today.png")));

    // The screenshots folder made by the first screenshot in it, which counts whatever its name.
    QDir().mkpath(pictures + QStringLiteral("/Screenshots"));
    ASSERT_TRUE(write(pictures + QStringLiteral("/Screenshots/Bildschirmfoto.png")));
    ASSERT_TRUE(test::waitUntil([&] { return taken.count() == 2; }));

    // Taken while another application was in front: not ours.
    inFront = false;
    ASSERT_TRUE(write(pictures + QStringLiteral("/Screenshots/other.png")));
    QTest::qWait(200);
    EXPECT_EQ(taken.count(), 2);
}

TEST(ShakeDetectorTests, WindowShakeNeedsThreeQuickAlternatingLegs) {
    VRNWindowShakeDetector detector;
    // Left, right, left, 60 points each, a twentieth of a second apart.
    const double xs[] = {500, 470, 440, 470, 500, 470, 440};
    int shakes = 0;
    for (int i = 0; i < 7; ++i) {
        shakes += detector.addPosition(i * 0.05, xs[i]) ? 1 : 0;
    }
    EXPECT_EQ(shakes, 1);

    VRNWindowShakeDetector slow;
    for (int i = 0; i < 7; ++i) {
        EXPECT_FALSE(slow.addPosition(i * 0.3, xs[i]));
    }
    VRNWindowShakeDetector short_legs;  // 30-point legs: a nudge, not a shake
    for (int i = 0; i < 7; ++i) {
        EXPECT_FALSE(short_legs.addPosition(i * 0.05, 500 + (xs[i] - 500) / 2));
    }
    VRNWindowShakeDetector jitter;  // a few points back and forth do not turn a leg
    const double jittery[] = {500, 460, 463, 440, 500, 440};
    int jitterShakes = 0;
    for (int i = 0; i < 6; ++i) {
        jitterShakes += jitter.addPosition(i * 0.05, jittery[i]) ? 1 : 0;
    }
    EXPECT_EQ(jitterShakes, 1);

    // A window that sat still two seconds starts its first leg when it moves again.
    VRNWindowShakeDetector rested;
    EXPECT_FALSE(rested.addPosition(0.0, 500));
    EXPECT_FALSE(rested.addPosition(2.0, 440));
    EXPECT_FALSE(rested.addPosition(2.1, 500));
    EXPECT_TRUE(rested.addPosition(2.2, 440));
    // Still, the legs of a shake are one second's work: three legs over 1.3 s are not one.
    VRNWindowShakeDetector dawdled;
    EXPECT_FALSE(dawdled.addPosition(0.0, 500));
    for (double t = 0.05; t < 0.45; t += 0.05) {  // a slow drag to the left
        EXPECT_FALSE(dawdled.addPosition(t, 500 - t * 150));
    }
    EXPECT_FALSE(dawdled.addPosition(0.9, 500));
    EXPECT_FALSE(dawdled.addPosition(1.3, 440));
}

TEST(ShakeDetectorTests, AccelerometerShakeIsSustainedAccelerationOnceASecond) {
    VRNAccelerometerShakeDetector detector;
    // At rest: gravity alone.
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(detector.addReading(i * 0.02, 0, 0, 9.81));
    }
    int shakes = 0;
    double t = 1.0;
    for (int i = 0; i < 20; ++i, t += 0.02) {
        shakes += detector.addReading(t, i % 2 ? 18 : -18, 0, 9.81) ? 1 : 0;
    }
    EXPECT_EQ(shakes, 1);  // the rest of the same shake is within the second after
    for (int i = 0; i < 60; ++i, t += 0.02) {
        shakes += detector.addReading(t, i % 2 ? 18 : -18, 0, 9.81) ? 1 : 0;
    }
    EXPECT_EQ(shakes, 2);

    VRNAccelerometerShakeDetector bump;  // one jolt is not a shake
    EXPECT_FALSE(bump.addReading(0.00, 0, 0, 9.81));
    EXPECT_FALSE(bump.addReading(0.02, 30, 0, 9.81));
    EXPECT_FALSE(bump.addReading(0.04, 0, 0, 9.81));
    EXPECT_FALSE(bump.addReading(0.06, 0, 0, 9.81));
}

}  // namespace
}  // namespace vorna
