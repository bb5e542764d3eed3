#include <gtest/gtest.h>

#include <string>

#include "theme/VRNBrandingService.h"
#include "theme/VRNColorConverter.h"

namespace vorna {
namespace {

TEST(ColorTests, HexSkipsTheFirstCharacterWhateverItIs) {
    EXPECT_EQ(VRNColorConverter::colorFromHex("#FFFFFF"), (VRNColor{1, 1, 1, 1}));
    EXPECT_EQ(VRNColorConverter::colorFromHex(""), (VRNColor{0, 0, 0, 1}));
    EXPECT_EQ(VRNColorConverter::colorFromHex("#"), (VRNColor{0, 0, 0, 1}));
    EXPECT_EQ(VRNColorConverter::colorFromHex("#1144f1"), VRNColor::withRGB(0x11, 0x44, 0xF1));
    // Without "#" the first digit is lost.
    EXPECT_EQ(VRNColorConverter::colorFromHex("6182f1"), VRNColor::withRGB(0x01, 0x82, 0xF1));
    EXPECT_EQ(VRNColorConverter::colorFromHex("xFBC01B"), VRNColor::withRGB(0xFB, 0xC0, 0x1B));
}

TEST(ColorTests, HexReadsUpToTheFirstNonDigitAndKeepsTheLowThreeBytes) {
    EXPECT_EQ(VRNColorConverter::colorFromHex("#aBcDeF"), VRNColor::withRGB(0xAB, 0xCD, 0xEF));
    EXPECT_EQ(VRNColorConverter::colorFromHex("#12zz34"), VRNColor::withRGB(0, 0, 0x12));
    EXPECT_EQ(VRNColorConverter::colorFromHex("#zz"), VRNColor::withRGB(0, 0, 0));
    // Eight digits: the top byte (what would be alpha) is ignored, alpha stays 1.
    EXPECT_EQ(VRNColorConverter::colorFromHex("#80FF0000"), VRNColor::withRGB(0xFF, 0, 0));
    EXPECT_EQ(VRNColorConverter::colorFromHex("#FFFFFFFFFFFF"),
              VRNColor::withRGB(0xFF, 0xFF, 0xFF));
}

TEST(BrandingServiceTests, NothingBeforeTheFirstStartThenAFreshDefaultEachTime) {
    VRNBrandingService service;
    EXPECT_EQ(service.branding(), nullptr);

    service.start();
    const auto first = service.branding();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->textColor(), VRNColor::withRGB(255, 255, 255));
    EXPECT_EQ(first->backgroundColor(), VRNColor::withRGB(0x11, 0x44, 0xF1));
    EXPECT_EQ(first->placeholderColor(), VRNColor::withRGB(1, 130, 241));
    EXPECT_EQ(first->highlightedTextColor(), VRNColor::withRGB(0xFB, 0xC0, 0x1B));
    EXPECT_EQ(first->logo(), "detective");
    EXPECT_EQ(first->slogan(), "Vorna is a simple, powerful bug reporting tool. \u279D");

    // A screen holding the previous record keeps it, changes and all; the service starts over.
    first->setTextColor(VRNColor::withRGB(0, 0, 0));
    service.start();
    const auto second = service.branding();
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->textColor(), VRNColor::withRGB(0, 0, 0));
    EXPECT_EQ(second->textColor(), VRNColor::withRGB(255, 255, 255));
}

}  // namespace
}  // namespace vorna
