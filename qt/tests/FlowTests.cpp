#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "core/VRNVornaInstance.h"
#include "flow/VRNCoordinator.h"
#include "flow/VRNMessageBannerManager.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "qt/flow/EmailEntryView.h"
#include "qt/flow/VRNCustomControlTextView.h"
#include "qt/flow/VRNFlowDisplayWindow.h"
#include "qt/flow/VRNMessageBannerVC.h"
#include "qt/flow/VRNMessageBannerWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNQtFlowPlatform.h"
#include "qt/flow/VRNReportComposeViewController.h"
#include "qt/flow/VRNReportingDisabledPopupVC.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/flow/VRNScreenshotImageView.h"
#include "qt/flow/VRNScreenshotVC.h"
#include "qt/flow/VRNScreenshotView.h"
#include "qt/platform/VRNWindowStack.h"
#include "qt/tests/ManualAnimationClock.h"
#include "qt/tests/QtTestSupport.h"
#include "state/VRNConstants.h"
#include "storage/VRNUploaderProtocol.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

class KeptReports : public VRNUploaderProtocol {
public:
    void uploadData(std::shared_ptr<VRNVornaReportData> data) override {
        received.push_back(std::move(data));
    }
    std::vector<std::shared_ptr<VRNVornaReportData>> received;
};

// The facade with the Qt flow, as a Qt host gets it, over a 375 × 812 screen; the banner's
// timing runs on virtual time and every animation on the hand-driven clock.
class FlowTest : public testing::Test {
protected:
    void SetUp() override {
        host.setGeometry(0, 0, 375, 812);
        host.setStyleSheet(QStringLiteral("background: #e0e0e0"));
        test::showWindow(&host);
        VRNVornaInstance::Dependencies deps;
        deps.appRepository = repository;
        deps.connection =
            std::make_shared<VRNConnection>(std::make_unique<test::FakeReachability>(
                                                std::make_shared<test::FakeReachability::Shared>()),
                                            VRNRunLoop::main(), center);
        deps.notificationCenter = &center;
        deps.makeFileManager = [] { return nullptr; };
        deps.makeUploader = [this](auto, auto) { return uploader; };
        deps.makeCoordinator = [this](VRNCoordinatorContext context) {
            context.makeReportData = [] {
                return std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
            };
            return std::make_shared<VRNCoordinator>(std::move(context), platform);
        };
        vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
    }

    VRNFlowDisplayWindow* window() {
        auto coordinator = std::dynamic_pointer_cast<VRNCoordinator>(vorna->coordinator());
        return coordinator ? static_cast<VRNFlowDisplayWindow*>(coordinator->displayWindow().get())
                           : nullptr;
    }
    template <class Screen>
    Screen* top() {
        return dynamic_cast<Screen*>(window()->navigationStack()->topViewController());
    }
    void letTimePass(qint64 ms) {
        clock.advance(ms);
        test::settle();
    }

    test::ScopedScreen screen{375, 812};
    test::ManualAnimationClock clock;
    test::TempDir dir;
    QWidget host;
    VRNNotificationCenter center;
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<KeptReports> uploader = std::make_shared<KeptReports>();
    std::shared_ptr<VRNVirtualRunLoop> bannerTime = std::make_shared<VRNVirtualRunLoop>();
    std::shared_ptr<VRNQtFlowPlatform> platform =
        std::make_shared<VRNQtFlowPlatform>([] { return QRect(0, 0, 375, 812); }, bannerTime);
    std::shared_ptr<VRNVornaInstance> vorna;
};

TEST_F(FlowTest, AReportFromTheFirstScreenToTheBannerWithRealEvents) {
    vorna->display();
    ASSERT_NE(window(), nullptr);
    EXPECT_TRUE(window()->isVisible());
    EXPECT_EQ(window()->geometry(), QRect(0, 0, 375, 812));
    // Above the host's windows: one level over the highest shown.
    EXPECT_GT(window()->windowLevel(), VRNWindowStack::windowLevel(&host));
    EXPECT_TRUE(window()->isShowingTransition());
    letTimePass(450);
    EXPECT_FALSE(window()->isShowingTransition());

    // A stroke across the picture, in the colour of the black button.
    auto* annotation = top<VRNScreenshotVC>();
    ASSERT_NE(annotation, nullptr);
    QTest::mouseClick(annotation->blackButton(), Qt::LeftButton);
    QWidget* picture = annotation->screenshotView()->screenshotImageView();
    test::Pointer pointer(window()->windowHandle());
    const QPointF from = picture->mapTo(window(), QPointF(40, 200));
    pointer.drag(from, from + QPointF(200, 0));
    QTest::mouseClick(annotation->nextButton(), Qt::LeftButton);
    letTimePass(400);

    auto* compose = top<VRNReportComposeViewController>();
    ASSERT_NE(compose, nullptr);
    QWidget* description = compose->resizingTextView()->textView();
    EXPECT_TRUE(description->hasFocus());
    QTest::keyClicks(description, QStringLiteral("It froze"));
    QTest::mouseClick(compose->emailView()->textField(), Qt::LeftButton);
    QTest::keyClicks(compose->emailView()->textField(), QStringLiteral("me@example.com"));
    auto* submit = qobject_cast<QAbstractButton*>(compose->rightBarButton());
    ASSERT_NE(submit, nullptr);
    QTest::mouseClick(submit, Qt::LeftButton);

    ASSERT_EQ(uploader->received.size(), 1u);
    const auto& report = uploader->received[0];
    EXPECT_EQ(std::get<std::string>(report->gatheredDataDict()->at(kVRNUserInput)), "It froze");
    EXPECT_EQ(std::get<std::string>(report->gatheredDataDict()->at(kVRNUserEmail)),
              "me@example.com");
    EXPECT_EQ(repository->emailAddress(), "me@example.com");
    // The picture it carries has the black stroke where it was drawn.
    const VRNImage sent = VRNImageWithData(*report->screenshotFile()->data());
    const double scale = sent.width() / static_cast<double>(picture->width());
    const auto stroke = sent.rgbaAt(static_cast<int>(140 * scale), static_cast<int>(200 * scale));
    EXPECT_LT(stroke[0] + stroke[1] + stroke[2], 120);

    // The window fades out and goes; then the banner, for three seconds.
    QPointer<VRNFlowDisplayWindow> closing = window();
    letTimePass(200);
    ASSERT_TRUE(closing);
    EXPECT_TRUE(closing->isVisible());
    EXPECT_LT(closing->appearance().alpha, 1.0);
    letTimePass(250);
    // Hidden, then gone with the flow that the facade let go of.
    EXPECT_TRUE(!closing || !closing->isVisible());
    EXPECT_EQ(vorna->coordinator(), nullptr);
    auto banner = std::dynamic_pointer_cast<VRNMessageBannerWindow>(
        platform->messageBannerManager()->bannerWindow());
    ASSERT_TRUE(banner);
    bannerTime->advance(0.5);
    EXPECT_TRUE(banner->isVisible());
    EXPECT_EQ(banner->rootViewController()->label()->text(),
              QStringLiteral("Bug submitted successfully."));
    bannerTime->advance(2.5);
    EXPECT_FALSE(banner->isVisible());

    // The next report opens a new flow, on the colour chosen last and the e-mail remembered.
    vorna->display();
    ASSERT_NE(window(), nullptr);
    letTimePass(450);
    auto* again = top<VRNScreenshotVC>();
    ASSERT_NE(again, nullptr);
    QTest::mouseClick(again->nextButton(), Qt::LeftButton);
    letTimePass(400);
    EXPECT_EQ(top<VRNReportComposeViewController>()->emailView()->textField()->text(),
              QStringLiteral("me@example.com"));
}

TEST_F(FlowTest, AnArchivedApplicationsPopupDismissesTheWholeFlow) {
    repository->setApplicationActive(false);
    vorna->display();
    ASSERT_NE(window(), nullptr);
    letTimePass(450);
    auto* popup = dynamic_cast<VRNReportingDisabledPopupVC*>(
        window()->navigationStack()->presentedViewController());
    ASSERT_NE(popup, nullptr);
    EXPECT_TRUE(popup->view()->isVisible());
    QTest::mouseClick(popup->dismissButton(), Qt::LeftButton);
    QPointer<VRNFlowDisplayWindow> closing = window();
    letTimePass(450);
    EXPECT_FALSE(closing && closing->isVisible());
    EXPECT_EQ(vorna->coordinator(), nullptr);
    EXPECT_TRUE(uploader->received.empty());
}

}  // namespace
}  // namespace vorna
