// The pieces the report pages are made of: reading a report's odd members, facts in words and
// units, chart axes, and the headers uploaded files are served with.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "FactFormat.h"
#include "FileDownloads.h"
#include "ReaderAccess.h"
#include "ReportDocument.h"
#include "SvgChart.h"

namespace vorna::backend {
namespace {

using nlohmann::json;

// The pages render times in the backend's zone; each test names the zone it expects.
class InZone : public ::testing::Test {
protected:
    void setZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    void SetUp() override {
        const char* zone = std::getenv("TZ");
        saved_ = zone ? std::optional<std::string>(zone) : std::nullopt;
        setZone("UTC");
    }
    void TearDown() override {
        if (saved_) {
            ::setenv("TZ", saved_->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }

private:
    std::optional<std::string> saved_;
};

using FactFormatTest = InZone;
using SvgChartTest = InZone;

TEST_F(FactFormatTest, TimesAreReadInEveryFormClientsAndThisBackendWriteThem) {
    const auto utc = FactFormat::parseTime("2024-03-01T12:00:10Z");
    ASSERT_TRUE(utc);
    EXPECT_EQ(utc->unixSeconds, 1709294410);
    const auto offset = FactFormat::parseTime("2024-03-01T13:00:10+01:00");
    ASSERT_TRUE(offset);
    EXPECT_EQ(offset->unixSeconds, 1709294410);
    EXPECT_EQ(offset->offsetSeconds, 3600);
    EXPECT_EQ(FactFormat::parseTime("2024-03-01T06:30:10-0530")->unixSeconds, 1709294410);
    const auto received = FactFormat::parseTime("2024-03-01T12:00:10.250Z");
    ASSERT_TRUE(received);
    EXPECT_DOUBLE_EQ(received->fraction, 0.25);

    for (const char* odd :
         {"", "yesterday", "2024-03-01T12:00:10", "2024-13-01T12:00:10Z",
          "2024-03-01T12:00:10+1:00", "2024-03-01 12:00Z", "2024-03-01T12:00:10Zs"}) {
        EXPECT_FALSE(FactFormat::parseTime(odd)) << odd;
    }
}

TEST_F(FactFormatTest, TimesAreShownInTheBackendsZoneWithItsNameAndTheDevicesClock) {
    EXPECT_EQ(FactFormat::dateTime(1709294410), "1 Mar 2024, 12:00:10 UTC");
    EXPECT_EQ(FactFormat::shortDateTime(1709294410), "1 Mar 2024, 12:00");
    EXPECT_EQ(FactFormat::reportTime("2024-03-01T12:00:10Z"), "1 Mar 2024, 12:00:10 UTC");
    EXPECT_EQ(FactFormat::reportTime("2024-03-01T13:00:10+01:00"),
              "1 Mar 2024, 12:00:10 UTC (13:00:10 on the device, UTC+01:00)");
    EXPECT_EQ(FactFormat::reportTime("not a time <b>"), "not a time <b>");

    setZone("Europe/Berlin");
    EXPECT_EQ(FactFormat::dateTime(1709294410), "1 Mar 2024, 13:00:10 CET");
    EXPECT_EQ(FactFormat::reportTime("2024-03-01T13:00:10+01:00"), "1 Mar 2024, 13:00:10 CET");
}

TEST_F(FactFormatTest, FactsAreWordsAndUnits) {
    EXPECT_EQ(FactFormat::megabytes(0.5), "512 KB");
    EXPECT_EQ(FactFormat::megabytes(14.156), "14.2 MB");
    EXPECT_EQ(FactFormat::megabytes(812), "812 MB");
    EXPECT_EQ(FactFormat::megabytes(1577), "1.54 GB");
    EXPECT_EQ(FactFormat::megabytes(258019.61328125), "251.97 GB");
    EXPECT_EQ(FactFormat::megabytes(-1), "unknown");

    EXPECT_EQ(FactFormat::batteryFraction(0.75), "75 %");
    EXPECT_EQ(FactFormat::batteryFraction(-1), "unknown");
    EXPECT_EQ(FactFormat::batteryPercent(50), "50 %");
    EXPECT_EQ(FactFormat::batteryPercent(-1), "unknown");
    EXPECT_EQ(FactFormat::batteryState("2"), "Charging");
    EXPECT_EQ(FactFormat::batteryState("unplugged"), "Unplugged");
    EXPECT_EQ(FactFormat::batteryState("7"), "7");

    EXPECT_EQ(FactFormat::deviceOrientation(2), "Portrait, upside down");
    EXPECT_EQ(FactFormat::deviceOrientation(5), "Face up");
    EXPECT_EQ(FactFormat::deviceOrientation(9), "Unknown (9)");
    EXPECT_EQ(FactFormat::networkType("wifi"), "Wi-Fi");
    EXPECT_EQ(FactFormat::networkType("offline"), "Offline");
    EXPECT_EQ(FactFormat::networkType("CTRadioAccessTechnologyLTE"), "Cellular LTE");
    EXPECT_EQ(FactFormat::networkType("CTRadioAccessTechnologyeHRPD"), "Cellular HRPD");
    EXPECT_EQ(FactFormat::sessionState("1"), "Inactive");
    EXPECT_EQ(FactFormat::permissionState("only_while_using_the_app"), "While the app is in use");

    EXPECT_EQ(FactFormat::duration(45.4), "45 s");
    EXPECT_EQ(FactFormat::duration(192), "3 min 12 s");
    EXPECT_EQ(FactFormat::duration(7500), "2 h 5 min");
    EXPECT_EQ(FactFormat::duration(3 * 86400 + 4 * 3600), "3 d 4 h");
}

TEST(ReportDocumentTest, MembersOfTheWrongKindReadAsNothing) {
    const ReportDocument doc(R"({"level": "0.75", "count": 3, "odd": "1e999", "nan": "nan",
                                 "list": [1], "flag": true, "text": "x"})");
    ASSERT_TRUE(doc.parsed());
    EXPECT_EQ(doc.number("level"), 0.75);
    EXPECT_EQ(doc.number("count"), 3);
    EXPECT_FALSE(doc.number("odd"));
    EXPECT_FALSE(doc.number("nan"));
    EXPECT_FALSE(doc.number("flag"));
    EXPECT_FALSE(doc.text("list"));
    EXPECT_EQ(doc.text("count"), "3");
    EXPECT_TRUE(doc.member("missing").is_null());
    EXPECT_TRUE(ReportDocument::memberOf(doc.member("text"), "x").is_null());

    EXPECT_EQ(ReportDocument::topLevelText(
                  R"({"blackbox": {"screenshot_url": "inner"}, "screenshot_url": "top"})",
                  "screenshot_url"),
              "top");
    EXPECT_FALSE(ReportDocument::topLevelText(R"({"screenshot_url": "cut)", "screenshot_url"));
    EXPECT_FALSE(ReportDocument::topLevelText("[]", "screenshot_url"));

    EXPECT_FALSE(ReportDocument("{\"cut").parsed());
    EXPECT_TRUE(ReportDocument("[1, 2]").member("a").is_null());

    EXPECT_EQ(ReportDocument::localFileId("http://10.0.2.2:8642/files/ab12/screenshot.jpg"),
              "ab12");
    EXPECT_EQ(ReportDocument::localFileId("https://example.com/files/ab12?x"), "ab12");
    EXPECT_FALSE(ReportDocument::localFileId("http://example.com/files/AB12/x"));
    EXPECT_FALSE(ReportDocument::localFileId("javascript:alert(1)//files/ab/x"));
    EXPECT_FALSE(ReportDocument::localFileId("http://example.com/other/ab12/x"));

    EXPECT_EQ(ReportDocument::firstLine("\n  First line  \r\nsecond"), "First line");
    EXPECT_EQ(ReportDocument::firstLine(" \n\t"), "");
}

TEST_F(SvgChartTest, AxesAreRoundAndNeverRunFromAValueToItself) {
    const auto zeros = SvgChart::niceScale(0, 0, 5);
    EXPECT_EQ(zeros.min, 0);
    EXPECT_GT(zeros.max, 0);
    const auto percent = SvgChart::niceScale(0, 100, 5);
    EXPECT_EQ(percent.min, 0);
    EXPECT_EQ(percent.max, 100);
    EXPECT_EQ(percent.step, 20);
    const auto flat = SvgChart::niceScale(14.2, 14.2, 5);
    EXPECT_LT(flat.min, 14.2);
    EXPECT_GT(flat.max, 14.2);
    const auto negative = SvgChart::niceScale(-3, -3, 5);
    EXPECT_LT(negative.min, -3);
    EXPECT_GT(negative.max, -3);
    const auto narrow = SvgChart::niceScale(187679.8, 187681.3, 5);
    EXPECT_LE(narrow.min, 187679.8);
    EXPECT_GE(narrow.max, 187681.3);
    EXPECT_LE((narrow.max - narrow.min) / narrow.step, 10);
    EXPECT_EQ(SvgChart::decimalsFor(0.005), 3);
    EXPECT_EQ(SvgChart::decimalsFor(20), 0);

    // Values no device measures still give a finite drawing, and ages of history a few ticks.
    SvgChart::Line absurd;
    absurd.samples = {{0, 1e17}, {1, 1e17 + 16}, {2, 1e308}, {3, -1e308}};
    const std::string drawn = SvgChart::line(absurd, 0, 3);
    EXPECT_EQ(drawn.find("nan"), std::string::npos);
    EXPECT_EQ(drawn.find("inf"), std::string::npos);
    EXPECT_LT(drawn.size(), 20000u);
    const auto ages = SvgChart::timeAxis(-62135596800.0, 253402300799.0);
    EXPECT_LE((ages.end - ages.start) / ages.step, 6.0 + 1e-9);

    EXPECT_EQ(SvgChart::timeAxis(0, 60).step, 10);
    const auto widened = SvgChart::timeAxis(100, 100);
    EXPECT_EQ(widened.end - widened.start, 10);
    EXPECT_EQ(SvgChart::timeAxis(0, 3 * 3600).step, 1800);
}

TEST_F(SvgChartTest, AnIdleCpuIsDrawnOnAPercentAxisAndUnmeasuredSamplesBreakTheLine) {
    SvgChart::Line idle;
    idle.title = "CPU load";
    idle.unit = "%";
    idle.covers = std::pair(0.0, 100.0);
    for (int i = 0; i < 9; ++i) {
        idle.samples.push_back({1709294400.0 + i * 0.5, 0.0});
    }
    const std::string svg = SvgChart::line(idle, 1709294400, 1709294404);
    EXPECT_NE(svg.find(">0 %</text>"), std::string::npos) << svg;
    EXPECT_NE(svg.find(">100 %</text>"), std::string::npos) << svg;
    EXPECT_NE(svg.find(">12:00:00</text>"), std::string::npos) << "clock-time ticks";
    EXPECT_EQ(svg.find("nan"), std::string::npos);

    SvgChart::Line gaps;
    gaps.unit = "MB";
    for (int i = 0; i < 6; ++i) {
        gaps.samples.push_back(
            {1709294400.0 + i, i == 3 ? std::nullopt : std::optional<double>(10 + i)});
    }
    gaps.samples.push_back({1709294407.0, std::nullopt});
    gaps.samples.push_back({1709294408.0, 20.0});
    const std::string broken = SvgChart::line(gaps, 1709294400, 1709294410);
    std::size_t polylines = 0;
    for (std::size_t at = broken.find("<polyline"); at != std::string::npos;
         at = broken.find("<polyline", at + 1)) {
        ++polylines;
    }
    EXPECT_EQ(polylines, 2u);
    EXPECT_NE(broken.find("<circle"), std::string::npos) << "a lone sample is a dot";
}

TEST(FileDownloadsTest, OnlyRasterImagesKeepTheirTypeAndEveryFileIsAnAttachment) {
    EXPECT_EQ(FileDownloads::servedType("image/PNG; q=1"), "image/png");
    EXPECT_EQ(FileDownloads::servedType("image/jpeg"), "image/jpeg");
    EXPECT_EQ(FileDownloads::servedType("image/webp"), "image/webp");
    for (const char* active : {"text/html", "image/svg+xml", "application/xhtml+xml", "text/xml",
                               "application/pdf", "", "image/png, text/html"}) {
        EXPECT_EQ(FileDownloads::servedType(active), "application/octet-stream") << active;
    }
    EXPECT_EQ(FileDownloads::contentDisposition("bug report #1 (ü).txt"),
              "attachment; filename=\"bug report #1 (__).txt\"; "
              "filename*=UTF-8''bug%20report%20%231%20%28%C3%BC%29.txt");
    EXPECT_EQ(FileDownloads::contentDisposition("a\"b\\c\r\nd.html"),
              "attachment; filename=\"a_b_c__d.html\"; filename*=UTF-8''a%22b%5Cc%0D%0Ad.html");
    EXPECT_EQ(FileDownloads::contentDisposition(""),
              "attachment; filename=\"file\"; filename*=UTF-8''file");
}

TEST(ReaderAccessTest, OnlyLoopbackAddressesKeepTheReportsOpen) {
    for (const char* host :
         {"127.0.0.1", "127.1.2.3", "::1", "[::1]", "localhost", "LOCALHOST", "::ffff:127.0.0.1"}) {
        EXPECT_TRUE(ReaderAccess::isLoopbackHost(host)) << host;
    }
    for (const char* host : {"0.0.0.0", "::", "192.168.1.20", "128.0.0.1", "", "localhost.example",
                             "::ffff:10.0.0.1", "fe80::1"}) {
        EXPECT_FALSE(ReaderAccess::isLoopbackHost(host)) << host;
    }
}

}  // namespace
}  // namespace vorna::backend
