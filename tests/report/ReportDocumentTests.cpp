#include <gtest/gtest.h>

#include "blackbox/Battery.h"
#include "blackbox/Network.h"
#include "blackbox/Record.h"
#include "report/VRNAPIReport.h"
#include "state/VRNConstants.h"

namespace vorna {
namespace {

using History = std::vector<std::shared_ptr<VRNBlackBoxObject>>;

VRNVornaReportData reportWith(VRNGatheredDataDict dict) {
    VRNVornaReportData data{VRNVornaReportData::Empty{}};
    data.setGatheredDataDict(std::move(dict));
    return data;
}

TEST(ReportDocument, EveryFactTravelsUnderItsKeyWithItsKind) {
    auto data = reportWith({
        {kVRNUserInput, std::string("Crash on save")},
        {kVRNUserEmail, std::string("t@example.com")},
        {kVRNTimeZone, std::string("Europe/Berlin")},
        {kVRNLocale, std::string("de_DE")},
        {kVRNIssueReportedTime, std::string("2024-03-05T14:07:09+01:00")},
        {kVRNSystemVersion, std::string("12")},
        {kVRNAppVersion, std::string("2.3")},
        {kVRNBuildVersion, std::string("45")},
        {kVRNModelName, std::string("x86_64")},
        {kVRNBatteryStatus, std::string("2")},
        {kVRNBatteryLevel, std::string("0.75")},
        {kVRNUsedDiskSpace, 1234.5},
        {kVRNAvailableDiskSpace, std::string("4096")},
        {kVRNUsedMemory, 512.25},
        {kVRNUsedApplicationMemory, 14.5},
        {kVRNAvailableMemory, 8192.0},
        {kVRNDeviceOrientation, int64_t{1}},
        {kVRNScreenHeight, int64_t{2436}},
        {kVRNScreenWidth, int64_t{1125}},
        {kVRNNetworkName, std::string("")},
        {kVRNNetworkType, std::string("offline")},
        {kVRNViewControllerName, std::string("EditorWindow")},
        {kVRNAuthentication, int64_t{1}},
        {kVRNSystemBuildVersion, std::string("22A100")},
    });
    data.setQuickFacts("build 45 on the test rig");
    const auto document = VRNAPIReport(data).dictValues();
    const nlohmann::json expected = {
        {"title", "Crash on save"},
        {"description", "Crash on save"},
        {"tester_email", "t@example.com"},
        {"timezone", "Europe/Berlin"},
        {"locale", "de_DE"},
        {"issue_reported_time", "2024-03-05T14:07:09+01:00"},
        {"os_version", "12"},
        {"app_version", "2.3"},
        {"build_version", "45"},
        {"device", "x86_64"},
        {"battery_status", "2"},
        {"battery_level", "0.75"},
        {"used_disk_space", 1234.5},
        {"available_disk_space", "4096"},
        {"used_memory", 512.25},
        {"used_application_memory", 14.5},
        {"available_memory", 8192.0},
        {"device_orientation", 1},
        {"screen_height", 2436},
        {"screen_width", 1125},
        {"network_name", ""},
        {"connection_type", "offline"},
        {"network_type", "offline"},
        {"current_view", "EditorWindow"},
        {"authentication", 1},
        {"os_build_version", "22A100"},
        {"quick_facts", "build 45 on the test rig"},
        {"platform", "iOS"},
        {"os", "iOS"},
        {"report_type", "manual"},
        {"blackbox", nlohmann::json::object()},
    };
    EXPECT_EQ(document, expected) << document.dump(2);
    // Kinds, as the backend reads them: text stays text, numbers stay numbers, and
    // "authentication" is an integer, not a boolean.
    EXPECT_TRUE(document["battery_status"].is_string());
    EXPECT_TRUE(document["used_disk_space"].is_number_float());
    EXPECT_TRUE(document["authentication"].is_number_integer());
}

TEST(ReportDocument, AbsentFactsAndPermissionsLeaveNoKeys) {
    const auto document = VRNAPIReport(reportWith({})).dictValues();
    EXPECT_EQ(document, (nlohmann::json{{"platform", "iOS"},
                                        {"os", "iOS"},
                                        {"report_type", "manual"},
                                        {"blackbox", nlohmann::json::object()}}));
}

TEST(ReportDocument, PermissionsAreSortedByName) {
    auto onlyLocation =
        reportWith({{kVRNLocationPermission, std::string("only_while_using_the_app")}});
    EXPECT_EQ(
        VRNAPIReport(onlyLocation).dictValues()["permissions"],
        (nlohmann::json::array({{{"name", "location"}, {"state", "only_while_using_the_app"}}})));
    auto cameraAndCalendar = reportWith({{kVRNCameraPermission, std::string("on")},
                                         {kVRNPhotoLibraryPermission, std::string("on")},
                                         {kVRNCalendarPermission, std::string("on")}});
    EXPECT_EQ(VRNAPIReport(cameraAndCalendar).dictValues()["permissions"],
              (nlohmann::json::array({{{"name", "calendar"}, {"state", "on"}},
                                      {{"name", "camera"}, {"state", "on"}},
                                      {{"name", "photolibrary"}, {"state", "on"}}})));
}

TEST(ReportDocument, HistoriesKeepTheirOrderAndIncompleteNetworkSamplesAreSkipped) {
    History cpu;
    for (int i = 0; i < 120; ++i) {
        cpu.push_back(
            std::make_shared<Record>(std::to_string(i) + ".000", "t" + std::to_string(i)));
    }
    History network{std::make_shared<Network>("Wifi", "Office", "t1"),
                    std::make_shared<Network>(std::nullopt, "Office", "t2"),
                    std::make_shared<Network>("Offline", "", "t3")};
    History battery{std::make_shared<Battery>("charging", "50.000", "t4")};
    History sessions{std::make_shared<Record>("0", "s0"), std::make_shared<Record>("2", "s1")};
    const auto document = VRNAPIReport(reportWith({{kVRNCpuHistory, cpu},
                                                   {kVRNNetworkHistory, network},
                                                   {kVRNBatteryHistory, battery},
                                                   {kVRNMemoryHistory, History{}},
                                                   {kVRNSessionStateHistory, sessions}}))
                              .dictValues();
    const auto& blackbox = document["blackbox"];
    ASSERT_EQ(blackbox["cpu_usage_history"].size(), 120u);
    EXPECT_EQ(blackbox["cpu_usage_history"][0],
              (nlohmann::json{{"value", "0.000"}, {"time_occurred", "t0"}}));
    EXPECT_EQ(blackbox["cpu_usage_history"][119]["value"], "119.000");
    EXPECT_EQ(
        blackbox["network_usage_history"],
        (nlohmann::json::array({{{"type", "Wifi"}, {"name", "Office"}, {"time_occurred", "t1"}},
                                {{"type", "Offline"}, {"name", ""}, {"time_occurred", "t3"}}})));
    EXPECT_EQ(blackbox["battery_usage_history"],
              (nlohmann::json::array(
                  {{{"status", "charging"}, {"level", "50.000"}, {"time_occurred", "t4"}}})));
    EXPECT_FALSE(blackbox.contains("memory_usage_history")) << "an empty history is left out";
    EXPECT_EQ(document["sessions"],
              (nlohmann::json::array({{{"time_occurred", "s0"}, {"state", "0"}},
                                      {{"time_occurred", "s1"}, {"state", "2"}}})));
}

TEST(ReportDocument, FilesShareTheirBytesWithTheUploadForms) {
    auto data = reportWith({});
    auto screenshot = std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"), VRNData{1, 2});
    auto log = std::make_shared<VRNVornaFile>(std::string("app.log"), VRNData{3});
    auto unnamed = std::make_shared<VRNVornaFile>(std::nullopt, VRNData{4});
    data.setScreenshotFile(screenshot);
    data.setAttachedFiles(VRNVornaReportData::Files{log, unnamed});
    const VRNAPIReport report(data);
    ASSERT_NE(report.screenshotFile(), nullptr);
    EXPECT_EQ(report.screenshotFile()->fileName(), "screenshot.jpg");
    EXPECT_EQ(report.screenshotFile()->data(), screenshot->data()) << "bytes copied, not shared";
    ASSERT_EQ(report.files().size(), 2u);
    EXPECT_EQ(report.files()[0]->fileName(), "app.log");
    EXPECT_FALSE(report.files()[1]->fileName().has_value());
}

}  // namespace
}  // namespace vorna
