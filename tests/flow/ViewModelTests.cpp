#include <gtest/gtest.h>

#include "flow/VRNInspectBugVM.h"
#include "flow/VRNReportComposeViewModel.h"
#include "flow/VRNReportingDisabledPopupVM.h"
#include "flow/VRNScreenshotVM.h"
#include "platform/VRNLocalizedString.h"
#include "state/VRNConstants.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

std::shared_ptr<VRNVornaReportData> reportWith(VRNGatheredDataDict facts) {
    auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    data->setGatheredDataDict(std::move(facts));
    return data;
}

// A host translation for the length of a test.
class ScopedTranslation {
public:
    ScopedTranslation(std::string key, std::string text) {
        VRNSetLocalizer([key = std::move(key), text = std::move(text)](const std::string& asked) {
            return asked == key ? text : std::string();
        });
    }
    ~ScopedTranslation() { VRNSetLocalizer(nullptr); }
    ScopedTranslation(const ScopedTranslation&) = delete;
    ScopedTranslation& operator=(const ScopedTranslation&) = delete;
};

TEST(ScreenshotVMTests, NextPutsThePictureAsAJpegIntoTheReportThenHandsItOn) {
    auto data = reportWith({});
    VRNScreenshotVM viewModel(VRNImage::filled(10, 6, 2, 0, 0, 255), data);
    std::shared_ptr<VRNVornaReportData> handedOn;
    viewModel.setOnDidPressNextButton([&](auto report) { handedOn = report; });
    int closes = 0;
    viewModel.setOnDidPressCloseButton([&] { ++closes; });

    // A stroke burnt in replaces the picture the report will carry.
    viewModel.setScreenshotImage(VRNImage::filled(10, 6, 2, 255, 0, 0));
    viewModel.didPressNextButton();
    ASSERT_EQ(handedOn, data);
    const auto& file = data->screenshotFile();
    ASSERT_TRUE(file && file->data());
    EXPECT_EQ(file->name(), "screenshot.jpg");
    EXPECT_EQ(*file->data(), *VRNJPEGRepresentation(viewModel.screenshotImage(), 0.7));
    const VRNImage sent = VRNImageWithData(*file->data());
    EXPECT_EQ(sent.width(), 20);
    EXPECT_GT(sent.rgbaAt(5, 5)[0], 240);
    EXPECT_LT(sent.rgbaAt(5, 5)[2], 20);

    viewModel.didPressCloseButton();
    EXPECT_EQ(closes, 1);
}

TEST(ComposeViewModelTests, SubmitAddsTheTextsToTheFactsItFound) {
    auto data = reportWith(
        {{kVRNModelName, std::string("x86_64")}, {kVRNUserInput, std::string("an earlier text")}});
    VRNReportComposeViewModel viewModel(data);
    std::optional<std::string> emailGiven = std::string("unset");
    viewModel.setSubmitButtonPressed([&](auto report, std::optional<std::string> email) {
        EXPECT_EQ(report, data);
        emailGiven = std::move(email);
    });

    viewModel.didPressSubmitButton("It froze", std::string(""));
    const auto& facts = *data->gatheredDataDict();
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNModelName)), "x86_64");
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNUserInput)), "It froze");
    EXPECT_EQ(std::get<std::string>(facts.at(kVRNUserEmail)), "");
    EXPECT_EQ(emailGiven, "");

    // No facts at all: the texts are the only ones; the placeholder is no description.
    auto empty = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    VRNReportComposeViewModel bare(empty);
    bare.didPressSubmitButton(kVRNDescriptionPlaceholder, std::nullopt);
    ASSERT_TRUE(empty->gatheredDataDict());
    EXPECT_TRUE(empty->gatheredDataDict()->empty());
}

TEST(ComposeViewModelTests, SubmitComparesWithThePlaceholderAsTheTesterSawIt) {
    const ScopedTranslation german(kVRNDescriptionPlaceholder, "Beschreibe den Fehler");
    auto data = reportWith({});
    VRNReportComposeViewModel viewModel(data);
    viewModel.didPressSubmitButton("Beschreibe den Fehler", std::nullopt);
    EXPECT_EQ(data->gatheredDataDict()->count(kVRNUserInput), 0u);
    // The English sentence is then a description like any other.
    viewModel.didPressSubmitButton(kVRNDescriptionPlaceholder, std::nullopt);
    EXPECT_EQ(std::get<std::string>(data->gatheredDataDict()->at(kVRNUserInput)),
              kVRNDescriptionPlaceholder);
}

TEST(ComposeViewModelTests, AttachmentsAreTheScreenshotAsAPicture) {
    auto data = reportWith({});
    VRNReportComposeViewModel viewModel(data);
    EXPECT_TRUE(viewModel.attachments().empty());
    data->setScreenshotFile(std::make_shared<VRNVornaFile>(
        std::string("screenshot.jpg"), std::shared_ptr<const VRNVornaFile::Bytes>()));
    EXPECT_TRUE(viewModel.attachments().empty());
    data->setScreenshotFile(std::make_shared<VRNVornaFile>(
        std::string("screenshot.jpg"),
        *VRNJPEGRepresentation(VRNImage::filled(3, 2, 1, 0, 255, 0), 0.7)));
    const auto pictures = viewModel.attachments();
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(pictures[0].width(), 3);
    // A fresh list each time.
    EXPECT_NE(viewModel.attachments()[0].sharedPixels(), pictures[0].sharedPixels());
}

TEST(ComposeViewModelTests, BrandingUpdatesReachTheScreenWhileTheViewModelLives) {
    VRNNotificationCenter center;
    int refreshes = 0;
    {
        VRNReportComposeViewModel viewModel(reportWith({}), center);
        viewModel.setBrandingRefresCallback([&] { ++refreshes; });
        center.post(kVRNBrandingUpdatedNotification);
        EXPECT_EQ(refreshes, 1);
    }
    center.post(kVRNBrandingUpdatedNotification);
    EXPECT_EQ(refreshes, 1);
}

TEST(InspectBugVMTests, TheTableReadsTheFactsAsTheyStand) {
    VRNInspectBugVM viewModel(reportWith({
        {kVRNSystemVersion, std::string("6.1.0-13-amd64")},
        {kVRNAppVersion, std::string("2.3")},
        {kVRNNetworkName, std::string("office")},
        {kVRNViewControllerName, std::string("OrderDesk")},
        {kVRNLocale, std::string("de_DE")},
        {kVRNAvailableMemory, 2048.0},
        {kVRNUsedMemory, 1126.4},
        {kVRNAvailableDiskSpace, std::string("476802.5")},
        {kVRNUsedDiskSpace, 250000.25},
        {kVRNScreenHeight, int64_t{2436}},
        {kVRNScreenWidth, int64_t{1125}},
    }));
    EXPECT_EQ(viewModel.osVersion(), "6.1.0-13-amd64");
    EXPECT_EQ(viewModel.appVersion(), "2.3");
    EXPECT_EQ(viewModel.network(), "office");
    EXPECT_EQ(viewModel.currentView(), "OrderDesk");
    EXPECT_EQ(viewModel.locale(), "de_DE");
    EXPECT_EQ(viewModel.availableMemory(), "45% \u2022 922 out of 2048 MB");
    // Megabytes under "GB", and the text form of the total read as a number.
    EXPECT_EQ(viewModel.availableStorage(), "48% \u2022 226802 out of 476802 GB");
    EXPECT_EQ(viewModel.resolution(), "2436 X 1125");
    EXPECT_EQ(viewModel.quickFacts(), "Quick Facts not enabled.");
    EXPECT_TRUE(viewModel.grantedPermissions().empty());
}

TEST(InspectBugVMTests, NothingGatheredShowsEmptyTextsAndZeroesFromNoNumber) {
    const ScopedTranslation german("Quick Facts not enabled.", "Keine Quick Facts.");
    VRNInspectBugVM viewModel(std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{}));
    EXPECT_EQ(viewModel.osVersion(), "");
    EXPECT_EQ(viewModel.locale(), "");
    // 0 × 100 ÷ 0 is no number; the format prints it as 0.
    EXPECT_EQ(viewModel.availableMemory(), "0% \u2022 0 out of 0 MB");
    EXPECT_EQ(viewModel.availableStorage(), "0% \u2022 0 out of 0 GB");
    EXPECT_EQ(viewModel.resolution(), "(null) X (null)");
    EXPECT_EQ(viewModel.quickFacts(), "Keine Quick Facts.");
    EXPECT_TRUE(viewModel.attachments().empty());
}

TEST(InspectBugVMTests, FiguresRoundHalfAwayFromZeroAndKeep32Bits) {
    EXPECT_EQ(VRNInspectBugVM::amountsOf(2048, 1126.4).percentage, 45);
    EXPECT_EQ(VRNInspectBugVM::amountsOf(200, 1).percentage, 100);  // 99.5 up
    EXPECT_EQ(VRNInspectBugVM::amountsOf(3, 1.5).amount, 2);        // 1.5 up
    EXPECT_EQ(VRNInspectBugVM::amountsOf(1, 2.5).amount, -2);       // -1.5 away from zero
    EXPECT_EQ(VRNInspectBugVM::amountsOf(2048.9, 0).total, 2048);   // the integer value
    // Used with nothing available: an infinite share, printed as 0; the amount goes negative.
    const auto none = VRNInspectBugVM::amountsOf(0, 1126.4);
    EXPECT_EQ(none.percentage, 0);
    EXPECT_EQ(none.amount, -1126);
    // Beyond 32 bits the low 32 are what shows: 2^32 + 5 megabytes shows as 5.
    EXPECT_EQ(VRNInspectBugVM::amountsOf(4294967301.0, 0).total, 5);
}

TEST(InspectBugVMTests, OnePermissionIsListedTwoRaiseTheSortsError) {
    auto data = reportWith({{kVRNCameraPermission, std::string("on")}});
    VRNInspectBugVM viewModel(data);
    EXPECT_EQ(viewModel.grantedPermissions(), (std::vector<std::string>{"camera"}));
    // The sort's comparator was written for dictionaries: with two names it gives up.
    data->setGatheredDataDict(
        VRNGatheredDataDict{{kVRNCameraPermission, std::string("on")},
                            {kVRNLocationPermission, std::string("only_while_using_the_app")}});
    EXPECT_THROW(viewModel.grantedPermissions(), VRNUnrecognizedSelectorError);
}

TEST(PopupVMTests, DismissGoesToTheCallback) {
    VRNReportingDisabledPopupVM viewModel;
    viewModel.didPressDismissButton();  // nothing set yet: nothing happens
    int dismissed = 0;
    viewModel.setDismissCallback([&] { ++dismissed; });
    viewModel.didPressDismissButton();
    EXPECT_EQ(dismissed, 1);
}

}  // namespace
}  // namespace vorna
