#include <gtest/gtest.h>

#include "theme/VRNAPIBrandingResponse.h"
#include "theme/VRNBranding.h"

namespace vorna {
namespace {

using namespace std::chrono;

VRNData bytesOf(const std::string& s) {
    return VRNData(s.begin(), s.end());
}

const std::string kComplete = R"({
    "updated": "2021-03-04T05:06:07.250+0100",
    "text_color": "#FFFFFF",
    "background": "#1144f1",
    "placeholder_color": "#0182f1",
    "highlighted_text_color": "#fbc01b",
    "slogan": "Report it \u279D",
    "logo_url": "https://cdn.example.test/logo.png"
})";

TEST(BrandingResponseTests, CompleteAnswerIsParsed) {
    VRNErrorPtr error;
    const auto response = VRNAPIBrandingResponse::initWithData(bytesOf(kComplete), &error);
    ASSERT_TRUE(response);
    EXPECT_FALSE(error);
    EXPECT_EQ(response->textColor(), VRNColor::withRGB(255, 255, 255));
    EXPECT_EQ(response->backgroundColor(), VRNColor::withRGB(0x11, 0x44, 0xF1));
    EXPECT_EQ(response->placeholderColor(), VRNColor::withRGB(0x01, 0x82, 0xF1));
    EXPECT_EQ(response->highlightedTextColor(), VRNColor::withRGB(0xFB, 0xC0, 0x1B));
    EXPECT_EQ(response->slogan(), "Report it \u279D");
    EXPECT_EQ(response->logoUrl(), "https://cdn.example.test/logo.png");
    ASSERT_TRUE(response->updated());
    EXPECT_EQ(*response->updated(),
              sys_days{2021y / March / 4} + hours{4} + minutes{6} + seconds{7} + milliseconds{250});
}

TEST(BrandingResponseTests, MissingKeyGivesNothingAndNoError) {
    for (const char* key : {"text_color", "background", "placeholder_color",
                            "highlighted_text_color", "slogan", "logo_url"}) {
        auto json = std::string(kComplete);
        json.replace(json.find(std::string("\"") + key + "\""), 1, "\"x-");
        VRNErrorPtr error;
        EXPECT_FALSE(VRNAPIBrandingResponse::initWithData(bytesOf(json), &error)) << key;
        EXPECT_FALSE(error) << key;
    }
    VRNErrorPtr error;
    EXPECT_FALSE(VRNAPIBrandingResponse::initWithData(bytesOf("[]"), &error));
    EXPECT_FALSE(error);
}

TEST(BrandingResponseTests, BytesThatAreNotJsonGiveTheURLDomainError100) {
    for (const std::string body : {"", "<html>", "{\"slogan\":"}) {
        VRNErrorPtr error;
        EXPECT_FALSE(VRNAPIBrandingResponse::initWithData(bytesOf(body), &error));
        ASSERT_TRUE(error) << body;
        EXPECT_EQ(error->domain, "NSURLErrorDomain");
        EXPECT_EQ(error->code, 100);
    }
    // Without a place for the error the answer is simply nothing.
    EXPECT_FALSE(VRNAPIBrandingResponse::initWithData(bytesOf("<html>"), nullptr));
}

TEST(BrandingResponseTests, UpdatedInAnotherFormatIsNoDateButTheResponseStands) {
    auto json = std::string(kComplete);
    json.replace(json.find("2021-03-04T05:06:07.250+0100"), 28, "2021-03-04T05:06:07+01:00");
    const auto response = VRNAPIBrandingResponse::initWithData(bytesOf(json), nullptr);
    ASSERT_TRUE(response);
    EXPECT_FALSE(response->updated());
}

TEST(BrandingResponseTests, DatesReadTheirZone) {
    const auto at = [](std::string_view t) { return VRNAPIBrandingResponse::dateFromString(t); };
    const auto noon = sys_days{2020y / January / 31} + hours{12};
    EXPECT_EQ(at("2020-01-31T12:00:00.000Z"), noon);
    EXPECT_EQ(at("2020-01-31T13:30:00.000+01:30"), noon);
    EXPECT_EQ(at("2020-01-31T07:00:00.500-0500"), noon + milliseconds{500});
    // Years outside the system clock's nanosecond range are dates all the same.
    EXPECT_EQ(at("9999-12-31T23:59:59.999Z"), sys_days{9999y / December / 31} + hours{23} +
                                                  minutes{59} + seconds{59} + milliseconds{999});
    EXPECT_EQ(at("0001-01-01T00:00:00.000+14:00"), sys_days{1y / January / 1} - hours{14});
    for (const char* bad : {"2020-01-31T12:00:00Z", "2020-02-30T12:00:00.000Z",
                            "2020-01-31T12:00:00.000", "2020-01-31T12:00:00.000+0100 x"}) {
        EXPECT_FALSE(at(bad)) << bad;
    }
}

TEST(BrandingTests, DefaultsAreTheBuiltInLook) {
    const VRNBranding branding;
    EXPECT_EQ(branding.textColor(), VRNColor::withRGB(255, 255, 255));
    EXPECT_EQ(branding.backgroundColor(), VRNColor::withRGB(0x11, 0x44, 0xF1));
    // Written without "#": its first digit is skipped.
    EXPECT_EQ(branding.placeholderColor(), (VRNColor{1 / 255.0, 130 / 255.0, 241 / 255.0, 1}));
    EXPECT_EQ(branding.highlightedTextColor(), VRNColor::withRGB(0xFB, 0xC0, 0x1B));
    EXPECT_EQ(branding.logo(), "detective");
    EXPECT_EQ(branding.slogan(), "Vorna is a simple, powerful bug reporting tool. \xE2\x9E\x9D");

    const VRNBranding custom("#000000", "#ABCDEF", "#123456", "https://h/logo.png", "Hi",
                             "#FF0000");
    EXPECT_EQ(custom.backgroundColor(), VRNColor::withRGB(0xAB, 0xCD, 0xEF));
    EXPECT_EQ(custom.logo(), "");
    EXPECT_EQ(custom.slogan(), "Hi");
}

TEST(BrandingTests, HexRuleSkipsTheFirstCharacterAndStopsAtNonDigits) {
    EXPECT_EQ(VRNColor::colorWithHexValue(""), VRNColor::withRGB(0, 0, 0));
    EXPECT_EQ(VRNColor::colorWithHexValue("#"), VRNColor::withRGB(0, 0, 0));
    EXPECT_EQ(VRNColor::colorWithHexValue("#12zz34"), VRNColor::withRGB(0, 0, 0x12));
    EXPECT_EQ(VRNColor::colorWithHexValue("#AABBCCDD"), VRNColor::withRGB(0xBB, 0xCC, 0xDD));
    EXPECT_EQ(VRNColor::colorWithHexValue("#aabbcc"), VRNColor::colorWithHexValue("#AABBCC"));
}

}  // namespace
}  // namespace vorna
