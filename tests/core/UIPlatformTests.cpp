#include <gtest/gtest.h>

#include "core/VRNDefaultCollaborators.h"
#include "core/VRNUIPlatform.h"
#include "invocation/VornaInvocationManager.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/VRNLocalizedString.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNConstants.h"
#include "support/LogCapture.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

struct Screen : VRNDeviceProvider {
    VRNScreenInfo mainScreen() const override { return {375, 812, 1125, 2436, 3}; }
};

struct Windows : VRNInvocationPlatform {
    void setupFloatingButtonWindow(std::function<void()>) override { ++buttons; }
    void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler>) override { ++pans; }
    int buttons = 0;
    int pans = 0;
};

struct Finished : VRNCoordinatorProtocol {
    void start() override {}
    void setOnCoordinatorFinish(std::function<void()>) override {}
};

// A toolkit as the kit sees it, with every part but the main loop (which stays the test's).
struct Toolkit : VRNUIPlatform {
    std::shared_ptr<VRNRunLoop> mainRunLoop() override { return loop; }
    std::shared_ptr<VRNDeviceProvider> deviceProvider() override { return screen; }
    std::shared_ptr<VRNInvocationPlatform> invocationPlatform() override { return windows; }
    std::optional<VRNData> captureScreenshot() override { return VRNData{0xff, 0xd8, 0xff}; }
    void registerFonts() override { ++fontRegistrations; }
    std::string localizedString(const std::string& key) override {
        return key == "Dismiss" ? "Schließen" : key;
    }
    std::shared_ptr<VRNCoordinatorProtocol> makeCoordinator(
        VRNCoordinatorContext context) override {
        contexts.push_back(std::move(context));
        return std::make_shared<Finished>();
    }
    std::shared_ptr<VRNRunLoop> loop;
    std::shared_ptr<Screen> screen = std::make_shared<Screen>();
    std::shared_ptr<Windows> windows = std::make_shared<Windows>();
    int fontRegistrations = 0;
    std::vector<VRNCoordinatorContext> contexts;
};

TEST(UIPlatformTests, OneInstallPutsEveryPartInPlaceAndOneUninstallTakesThemAway) {
    test::LogCapture log;
    auto toolkit = std::make_shared<Toolkit>();
    VRNUIPlatform::install(toolkit);
    EXPECT_EQ(VRNUIPlatform::current(), toolkit);
    EXPECT_EQ(VRNDeviceProvider::current()->mainScreen().nativeHeight, 2436);
    EXPECT_EQ(VornaInvocationManager::platform(), toolkit->windows);
    EXPECT_EQ(VRNLocalizedString("Dismiss"), "Schließen");
    EXPECT_EQ(VRNLocalizedString("Reporting disabled"), "Reporting disabled");
    const int fontsAtInstall = toolkit->fontRegistrations;
    VRNRegisterKitResources();
    EXPECT_EQ(toolkit->fontRegistrations, fontsAtInstall + 1);
    const auto report = VRNMakeAutoReportData(true, std::string("from code"), nullptr);
    EXPECT_EQ(report->screenshotFile()->name(), "screenshot.jpg");
    EXPECT_EQ(report->screenshotFile()->data()->size(), 3u);

    VRNUIPlatform::uninstall();
    EXPECT_NE(VRNUIPlatform::current(), toolkit);
    EXPECT_EQ(VRNDeviceProvider::current()->mainScreen().height, 0);
    EXPECT_EQ(VornaInvocationManager::platform(), nullptr);
    EXPECT_EQ(VRNLocalizedString("Dismiss"), "Dismiss");
    // Headless again: a report from code carries the white pixel, and says why.
    const auto headless = VRNMakeAutoReportData(true, std::nullopt, nullptr);
    EXPECT_EQ(headless->screenshotFile()->name(), "emptyScreenshot.jpg");
    EXPECT_TRUE(
        log.contains("VRNVorna - No screen to capture in this host, sending the empty screenshot"));
    EXPECT_FALSE(VRNUIPlatform::current()->makeCoordinator(VRNCoordinatorContext{}));
}

TEST(UIPlatformTests, AKitStartedBeforeItsToolkitGetsItsWindowsAndFontsWhenTheToolkitComes) {
    test::LogCapture log;
    const auto hostLoop = VRNRunLoop::main();
    VRNUIPlatform::uninstall();
    VRNRegisterKitResources();
    auto manager = std::make_shared<VornaInvocationManager>();
    manager->setInvocationEvents(VornaInvocationEventFloatingButton |
                                 VornaInvocationEventRightEdgePan);
    manager->start();
    EXPECT_EQ(log.count("VornaInvocationManager - No window toolkit yet: the floating button and "
                        "the edge swipe are set up once one is installed (a Qt host creates its "
                        "QApplication before starting the kit)"),
              1u);

    auto toolkit = std::make_shared<Toolkit>();
    auto loop = std::make_shared<VRNVirtualRunLoop>();
    toolkit->loop = loop;
    VRNUIPlatform::install(toolkit);
    // The application object is still being made: windows and fonts come once its loop runs.
    EXPECT_EQ(toolkit->fontRegistrations, 0);
    EXPECT_EQ(toolkit->windows->buttons, 0);
    loop->drain();
    EXPECT_EQ(toolkit->fontRegistrations, 1);
    EXPECT_EQ(toolkit->windows->buttons, 1);
    EXPECT_EQ(toolkit->windows->pans, 1);
    EXPECT_TRUE(log.contains("VornaInvocationManager - A window toolkit is installed: setting up "
                             "the floating button and the edge swipe now"));

    // A toolkit installed again finds nobody waiting.
    VRNUIPlatform::install(toolkit);
    loop->drain();
    EXPECT_EQ(toolkit->windows->buttons, 1);

    VRNUIPlatform::uninstall();
    VRNRunLoop::setMain(hostLoop);
}

}  // namespace
}  // namespace vorna
