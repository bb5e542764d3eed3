#include <gtest/gtest.h>

#include "core/VRNDefaultCollaborators.h"
#include "core/VRNUIPlatform.h"
#include "invocation/VornaInvocationManager.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/VRNLocalizedString.h"
#include "state/VRNConstants.h"
#include "support/LogCapture.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

struct Screen : VRNDeviceProvider {
    VRNScreenInfo mainScreen() const override { return {375, 812, 1125, 2436, 3}; }
};

struct Windows : VRNInvocationPlatform {
    void setupFloatingButtonWindow(std::function<void()>) override {}
    void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler>) override {}
};

struct Finished : VRNCoordinatorProtocol {
    void start() override {}
    void setOnCoordinatorFinish(std::function<void()>) override {}
};

// A toolkit as the kit sees it, with every part but the main loop (which stays the test's).
struct Toolkit : VRNUIPlatform {
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
    VRNRegisterKitResources();
    EXPECT_EQ(toolkit->fontRegistrations, 1);
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

}  // namespace
}  // namespace vorna
