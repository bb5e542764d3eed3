#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "theme/Colors.h"
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

TEST(ColorTests, ThePaletteHasItsFourteenColoursWithTheirAlpha) {
    struct Entry {
        const char* name;
        VRNColor (*color)();
        unsigned rgb;
        double alpha;
    };
    // The kit's "black" is the dark grey #313030, and the repeated values are separate names.
    const Entry palette[] = {
        {"shadow", Colors::shadow, 0x5A7498, 0.3},
        {"buttonShadow", Colors::buttonShadow, 0xA5B4C7, 0.8},
        {"black", Colors::black, 0x313030, 1.0},
        {"slate", Colors::slate, 0x5E6D7F, 1.0},
        {"defaultLightBlue", Colors::defaultLightBlue, 0x008DFF, 1.0},
        {"whiteColor", Colors::whiteColor, 0xFFFFFF, 1.0},
        {"blackColor", Colors::blackColor, 0x313030, 1.0},
        {"regularGrayColor", Colors::regularGrayColor, 0x7A8A9A, 1.0},
        {"paleGrayColor", Colors::paleGrayColor, 0xE7ECF2, 1.0},
        {"defaultDarkBlueColor", Colors::defaultDarkBlueColor, 0x1144F1, 1.0},
        {"defaultLightBlueColor", Colors::defaultLightBlueColor, 0x008DFF, 1.0},
        {"coolGreyColor", Colors::coolGreyColor, 0xA3ACB4, 1.0},
        {"slateColor", Colors::slateColor, 0x5E6D7F, 1.0},
        {"gunmetalColor", Colors::gunmetalColor, 0x4F5A65, 1.0},
    };
    // Each channel is an 8-bit value over 255, read back here as the byte it stands for.
    const auto byte = [](double channel) {
        const double scaled = channel * 255.0;
        EXPECT_NEAR(scaled, std::round(scaled), 1e-9) << "not a whole 8-bit value";
        return static_cast<unsigned>(std::lround(scaled));
    };
    for (const auto& entry : palette) {
        SCOPED_TRACE(entry.name);
        const VRNColor color = entry.color();
        EXPECT_EQ(byte(color.red), (entry.rgb >> 16) & 0xFF);
        EXPECT_EQ(byte(color.green), (entry.rgb >> 8) & 0xFF);
        EXPECT_EQ(byte(color.blue), entry.rgb & 0xFF);
        EXPECT_DOUBLE_EQ(color.alpha, entry.alpha);
    }
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
