#include <gtest/gtest.h>

#include "flow/FakeFlowPlatform.h"
#include "flow/VRNCoordinator.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNUploaderProtocol.h"
#include "support/TempDir.h"
#include "theme/VRNBranding.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

using test::FakeFlowPlatform;

class RecordingUploader : public VRNUploaderProtocol {
public:
    RecordingUploader(test::EventLog& log, VRNAppRepository& repository)
        : log_(log), repository_(repository) {}
    void uploadData(std::shared_ptr<VRNVornaReportData> data) override {
        // What was remembered by the time the report is handed over.
        log_.push_back("upload, e-mail " + repository_.emailAddress().value_or("(none)"));
        received.push_back(std::move(data));
    }
    std::vector<std::shared_ptr<VRNVornaReportData>> received;

private:
    test::EventLog& log_;
    VRNAppRepository& repository_;
};

class CoordinatorTest : public testing::Test {
protected:
    std::shared_ptr<VRNCoordinator> makeCoordinator(bool withUploader = true) {
        VRNCoordinatorContext context;
        context.uploader = withUploader ? uploader : nullptr;
        context.appRepository = repository;
        context.onPrepareData = hook;
        context.branding = [this] { return branding; };
        context.makeReportData = [this] {
            auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
            data->setGatheredDataDict(VRNGatheredDataDict{{kVRNModelName, std::string("x86_64")}});
            gathered.push_back(data);
            return data;
        };
        auto coordinator = std::make_shared<VRNCoordinator>(std::move(context), platform);
        coordinator->setOnCoordinatorFinish([this] { ++finished; });
        return coordinator;
    }
    test::FakeNavigation& navigation() { return *platform->navigations.back(); }
    test::FakeWindow& window() { return *platform->windows.back(); }
    std::shared_ptr<VRNScreenshotVMProtocol> annotation() {
        return static_cast<test::FakeScreen&>(*navigation().stack.front()).screenshot;
    }
    std::shared_ptr<VRNReportComposeVMProtocol> compose() { return navigation().top().compose; }

    test::TempDir dir;
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    std::shared_ptr<FakeFlowPlatform> platform = std::make_shared<FakeFlowPlatform>(loop);
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<RecordingUploader> uploader =
        std::make_shared<RecordingUploader>(platform->log, *repository);
    std::shared_ptr<VRNBranding> branding = std::make_shared<VRNBranding>();
    VRNCoordinatorContext::PrepareDataHook hook;
    std::vector<std::shared_ptr<VRNVornaReportData>> gathered;
    int finished = 0;
};

TEST_F(CoordinatorTest, StartShowsTheAnnotationScreenInAWindowAboveTheHostFadingIn) {
    const auto replaced = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    hook = [&](std::shared_ptr<VRNVornaReportData> data) {
        EXPECT_EQ(data, gathered.at(0));
        return replaced;
    };
    auto coordinator = makeCoordinator();
    coordinator->start();

    // The picture is taken before the flow's window exists, so the flow is never in it.
    ASSERT_GE(platform->log.size(), 2u);
    EXPECT_EQ(platform->log[0], "screenshot");
    EXPECT_EQ(platform->log[1], "window");
    EXPECT_EQ(coordinator->reportData(), replaced);
    EXPECT_EQ(annotation()->reportData(), replaced);
    EXPECT_EQ(annotation()->screenshotImage().sharedPixels(), platform->screenshot.sharedPixels());
    EXPECT_EQ(navigation().top().branding, branding);

    EXPECT_EQ(window().frame(), (VRNRect{0, 0, 375, 812}));
    EXPECT_EQ(window().windowLevel(), platform->lastLevel + 1.0);
    EXPECT_FALSE(window().isHidden());
    EXPECT_EQ(window().root, coordinator->navigationController());
    EXPECT_TRUE(navigation().invisible);
    EXPECT_TRUE(navigation().translucent);
    EXPECT_EQ(navigation().tint, VRNColor::withRGB(255, 255, 255));

    // From 0.9 and transparent content to full size and opaque, over 0.4 s, easing out.
    EXPECT_EQ(window().appearance(), (VRNWindowAppearance{1.0, 0.9, 0.0}));
    ASSERT_EQ(window().animations.size(), 1u);
    EXPECT_EQ(window().animations[0].target, (VRNWindowAppearance{1.0, 1.0, 1.0}));
    EXPECT_EQ(window().animations[0].duration, 0.4);
    EXPECT_EQ(window().animations[0].delay, 0.0);
    EXPECT_EQ(window().animations[0].curve, VRNAnimationCurve::EaseOut);
    loop->advance(0.39);
    EXPECT_EQ(window().appearance().scale, 0.9);
    loop->advance(0.01);
    EXPECT_EQ(window().appearance(), (VRNWindowAppearance{1.0, 1.0, 1.0}));
    EXPECT_EQ(finished, 0);
}

TEST_F(CoordinatorTest, TheDescriptionSurvivesBackAndNextButNotTheEndOfTheFlow) {
    repository->setEmailAddress(std::string("tester@example.com"));
    auto coordinator = makeCoordinator();
    coordinator->start();

    annotation()->didPressNextButton();
    // Next put the annotated picture into the report and the compose screen on the stack.
    ASSERT_EQ(navigation().top().kind, "compose");
    EXPECT_TRUE(navigation().animated.back());
    ASSERT_TRUE(coordinator->reportData()->screenshotFile());
    EXPECT_EQ(coordinator->reportData()->screenshotFile()->name(), "screenshot.jpg");
    EXPECT_FALSE(compose()->bugDescription());
    EXPECT_EQ(compose()->emailAddress(), "tester@example.com");

    compose()->didPressBackButton(std::string("The save button does nothing"));
    navigation().pop();
    annotation()->didPressNextButton();
    EXPECT_EQ(compose()->bugDescription(), "The save button does nothing");

    // Back on the untouched placeholder keeps no description.
    compose()->didPressBackButton(std::nullopt);
    navigation().pop();
    annotation()->didPressNextButton();
    EXPECT_FALSE(compose()->bugDescription());

    compose()->didPressBackButton(std::string("kept"));
    annotation()->didPressCloseButton();
    EXPECT_FALSE(coordinator->enteredBugDescription());
}

TEST_F(CoordinatorTest, SubmitRemembersTheEmailUploadsClosesThenShowsTheBanner) {
    auto coordinator = makeCoordinator();
    coordinator->start();
    loop->advance(0.4);
    annotation()->didPressNextButton();
    platform->log.clear();

    compose()->didPressSubmitButton("It crashed", std::string("me@example.com"));
    EXPECT_EQ(platform->log,
              (test::EventLog{"upload, e-mail me@example.com", "animate alpha 0", "banner"}));
    ASSERT_EQ(uploader->received.size(), 1u);
    EXPECT_EQ(uploader->received[0], coordinator->reportData());
    const auto& facts = *uploader->received[0]->gatheredDataDict();
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNUserInput)), "It crashed");
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNUserEmail)), "me@example.com");
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNModelName)), "x86_64");

    // The window fades out over 0.4 s, easing in, then hides and the flow is over.
    EXPECT_EQ(window().animations.back().target.alpha, 0.0);
    EXPECT_EQ(window().animations.back().curve, VRNAnimationCurve::EaseIn);
    EXPECT_EQ(window().animations.back().duration, 0.4);
    loop->advance(0.39);
    EXPECT_FALSE(window().isHidden());
    EXPECT_EQ(finished, 0);
    loop->advance(0.01);
    EXPECT_TRUE(window().isHidden());
    EXPECT_EQ(finished, 1);
}

TEST_F(CoordinatorTest, AnAbsentEmailKeepsTheRememberedOneAnEmptyOneReplacesIt) {
    repository->setEmailAddress(std::string("kept@example.com"));
    auto first = makeCoordinator();
    first->start();
    annotation()->didPressNextButton();
    compose()->didPressSubmitButton("a", std::nullopt);
    EXPECT_EQ(repository->emailAddress(), "kept@example.com");
    EXPECT_EQ(first->reportData()->gatheredDataDict()->count(kVRNUserEmail), 0u);

    auto second = makeCoordinator();
    second->start();
    annotation()->didPressNextButton();
    compose()->didPressSubmitButton("b", std::string());
    EXPECT_EQ(repository->emailAddress(), "");
}

TEST_F(CoordinatorTest, WithoutAnUploaderSubmitStillClosesTheFlow) {
    auto coordinator = makeCoordinator(false);
    coordinator->start();
    annotation()->didPressNextButton();
    compose()->didPressSubmitButton("nobody takes this", std::nullopt);
    loop->advance(0.4);
    EXPECT_EQ(finished, 1);
}

TEST_F(CoordinatorTest, InspectOpensOverTheComposeScreenOnTheAnnotatedReport) {
    auto coordinator = makeCoordinator();
    coordinator->start();
    annotation()->didPressNextButton();
    compose()->didPressInspectButton();
    ASSERT_EQ(navigation().top().kind, "inspect");
    EXPECT_TRUE(navigation().animated.back());
    EXPECT_EQ(navigation().top().inspect->reportData(), coordinator->reportData());
    EXPECT_EQ(navigation().top().branding, branding);
}

TEST_F(CoordinatorTest, AnArchivedApplicationGetsThePopupWhoseDismissClosesTheFlow) {
    repository->setApplicationActive(false);
    auto coordinator = makeCoordinator();
    coordinator->start();
    ASSERT_TRUE(navigation().presented);
    auto& popup = static_cast<test::FakeScreen&>(*navigation().presented);
    EXPECT_EQ(popup.kind, "popup");
    EXPECT_FALSE(navigation().presentedAnimated);
    // Shown at once, before the window's fade-in.
    EXPECT_EQ(window().animations.size(), 1u);

    popup.popup->didPressDismissButton();
    loop->advance(0.4);
    EXPECT_TRUE(window().isHidden());
    EXPECT_EQ(finished, 1);
}

TEST_F(CoordinatorTest, NoScreenGivesAnEmptyWindowAndAnEmptyPicture) {
    platform->bounds = VRNRect{};
    platform->screenshot = VRNImage();
    auto coordinator = makeCoordinator();
    coordinator->start();
    EXPECT_TRUE(window().frame().isEmpty());
    EXPECT_TRUE(annotation()->screenshotImage().isEmpty());
    // Next on an empty picture gives a screenshot file without data, and the flow goes on.
    annotation()->didPressNextButton();
    ASSERT_TRUE(coordinator->reportData()->screenshotFile());
    EXPECT_FALSE(coordinator->reportData()->screenshotFile()->data());
    EXPECT_TRUE(compose()->attachments().empty());
}

TEST(MessageBannerManagerTests, EachCallShowsAfterHalfASecondAndHidesAfterThree) {
    auto loop = std::make_shared<VRNVirtualRunLoop>();
    auto window = std::make_shared<test::FakeBannerWindow>();
    VRNMessageBannerManager manager(loop, [window] { return window; });
    // The window is made shown: the first banner of a process shows at once.
    EXPECT_FALSE(window->isHidden());

    manager.showBanner();
    loop->advance(0.5);
    EXPECT_FALSE(window->isHidden());
    loop->advance(2.5);
    EXPECT_TRUE(window->isHidden());

    // A second report a second after the first: its banner goes with the first one's hide.
    window->changes.clear();
    manager.showBanner();
    loop->advance(1.0);
    manager.showBanner();
    loop->advance(0.5);  // 1.5: the second call's show
    EXPECT_FALSE(window->isHidden());
    loop->advance(1.5);  // 3.0: the first call's hide
    EXPECT_TRUE(window->isHidden());
    loop->advance(1.0);  // 4.0: the second call's hide, already hidden
    EXPECT_EQ(window->changes, (std::vector<bool>{false, false, true, true}));
}

}  // namespace
}  // namespace vorna
