#include <gtest/gtest.h>

#include <fstream>

#include "blackbox/Record.h"
#include "report/VRNReportArchiving.h"
#include "report/VRNReportGathering.h"
#include "state/VRNConstants.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

struct FakeFileSystem : VRNFileSystemProbe {
    std::optional<VRNFileSystemAttributes> answer;
    std::optional<VRNFileSystemAttributes> attributesOfFileSystemForPath(
        const std::filesystem::path&) override {
        return answer;
    }
};
struct FakeMemory : VRNMemoryProbe {
    std::optional<uint64_t> resident, physical;
    std::optional<VRNHostMemoryStatistics> stats;
    std::optional<uint64_t> residentSize() override { return resident; }
    std::optional<uint64_t> physicalMemory() override { return physical; }
    std::optional<VRNHostMemoryStatistics> hostStatistics() override { return stats; }
};
struct FakeBattery : VRNBatteryProbe {
    VRNBatteryReading reading;
    VRNBatteryReading batteryReading() override { return reading; }
};
struct FakeWiFi : VRNWiFiProbe {
    std::optional<std::string> ssid;
    std::optional<std::string> currentSSID() override { return ssid; }
};
struct FakeTelephony : VRNTelephonyProvider {
    std::optional<std::string> technology;
    std::optional<std::string> currentRadioAccessTechnology() override { return technology; }
};

class Gathering : public testing::Test {
protected:
    void SetUp() override {
        probes->fileSystem = fileSystem;
        probes->memory = memory;
        probes->battery = battery;
        probes->wifi = wifi;
        probes->telephony = telephony;
        sources.probes = probes;
        sources.device = std::make_shared<VRNDeviceProvider>();
        sources.mainBundle =
            std::make_shared<VRNBundle>(nlohmann::json{{"CFBundleShortVersionString", "2.3"},
                                                       {"CFBundleVersion", "45"},
                                                       {"DTPlatformBuild", "b1"}});
        sources.hasConnectivity = [this] { return connected; };
        sources.documentsDirectory = [] { return std::filesystem::path("/tmp"); };
        sources.timestamp = [] { return std::string("2024-03-05T14:07:09+01:00"); };
        sources.systemVersion = [] { return std::optional<std::string>("12"); };
        sources.timeZoneName = [] { return std::optional<std::string>("Europe/Berlin"); };
        sources.localeIdentifier = [] { return std::optional<std::string>("de_DE"); };
        fileSystem->answer = VRNFileSystemAttributes{10ull * 1048576, 4ull * 1048576};
        memory->resident = 157286400;
        memory->physical = 8ull << 30;
        memory->stats = VRNHostMemoryStatistics{1048576, 2 * 1048576, 1048576};
        battery->reading = {VRNBatteryState::Charging, 0.75f};
    }
    const VRNGatheredValue& at(const VRNGatheredDataDict& dict, const char* key) {
        static const VRNGatheredValue missing = std::string("<absent>");
        auto it = dict.find(key);
        return it == dict.end() ? missing : it->second;
    }

    std::shared_ptr<VRNDeviceProbes> probes = std::make_shared<VRNDeviceProbes>();
    std::shared_ptr<FakeFileSystem> fileSystem = std::make_shared<FakeFileSystem>();
    std::shared_ptr<FakeMemory> memory = std::make_shared<FakeMemory>();
    std::shared_ptr<FakeBattery> battery = std::make_shared<FakeBattery>();
    std::shared_ptr<FakeWiFi> wifi = std::make_shared<FakeWiFi>();
    std::shared_ptr<FakeTelephony> telephony = std::make_shared<FakeTelephony>();
    bool connected = true;
    VRNReportSources sources;
    test::LogCapture log;
};

TEST_F(Gathering, FactsHaveTheirKindsAndUnits) {
    const auto dict = VRNGatherReportFacts(sources);
    EXPECT_EQ(at(dict, kVRNDeviceType), VRNGatheredValue(std::string("iOS")));
    EXPECT_EQ(at(dict, kVRNAppVersion), VRNGatheredValue(std::string("2.3")));
    EXPECT_EQ(at(dict, kVRNBatteryStatus), VRNGatheredValue(std::string("2")));
    EXPECT_EQ(at(dict, kVRNBatteryLevel), VRNGatheredValue(std::string("0.75")));
    // Available disk is the volume's total, as text; used is a number.
    EXPECT_EQ(at(dict, kVRNAvailableDiskSpace), VRNGatheredValue(std::string("10")));
    EXPECT_EQ(at(dict, kVRNUsedDiskSpace), VRNGatheredValue(6.0));
    EXPECT_EQ(at(dict, kVRNUsedApplicationMemory), VRNGatheredValue(150.0));
    EXPECT_EQ(at(dict, kVRNAvailableMemory), VRNGatheredValue(8192.0));
    EXPECT_EQ(at(dict, kVRNUsedMemory), VRNGatheredValue(4.0));
    EXPECT_EQ(at(dict, kVRNAuthentication), VRNGatheredValue(int64_t{0}));
    EXPECT_EQ(at(dict, kVRNScreenHeight), VRNGatheredValue(int64_t{0}));
    EXPECT_EQ(dict.count(kVRNViewControllerName), 0u) << "no screen, no top screen";
    for (const char* permission : {kVRNCameraPermission, kVRNLocationPermission,
                                   kVRNMicrophonePermission, kVRNContactsPermission}) {
        EXPECT_EQ(dict.count(permission), 0u) << permission;
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Gathering, NetworkFollowsConnectivityWiFiAndRadio) {
    connected = false;
    auto dict = VRNGatherReportFacts(sources);
    EXPECT_EQ(at(dict, kVRNNetworkType), VRNGatheredValue(std::string("offline")));
    EXPECT_EQ(at(dict, kVRNNetworkName), VRNGatheredValue(std::string("")));

    connected = true;
    dict = VRNGatherReportFacts(sources);
    EXPECT_EQ(dict.count(kVRNNetworkType), 0u) << "connected, no Wi-Fi, no radio: no type";
    EXPECT_EQ(at(dict, kVRNNetworkName), VRNGatheredValue(std::string("")));

    telephony->technology = "CTRadioAccessTechnologyLTE";
    dict = VRNGatherReportFacts(sources);
    EXPECT_EQ(at(dict, kVRNNetworkType),
              VRNGatheredValue(std::string("CTRadioAccessTechnologyLTE")));

    wifi->ssid = "Office";
    dict = VRNGatherReportFacts(sources);
    EXPECT_EQ(at(dict, kVRNNetworkType), VRNGatheredValue(std::string("wifi")));
    EXPECT_EQ(at(dict, kVRNNetworkName), VRNGatheredValue(std::string("Office")));
}

TEST_F(Gathering, UnreadableSourcesLeaveKeysOutWithTheirLines) {
    fileSystem->answer.reset();
    memory->resident.reset();
    memory->stats.reset();
    sources.localeIdentifier = [] { return std::optional<std::string>(); };
    const auto dict = VRNGatherReportFacts(sources);
    for (const char* key : {kVRNAvailableDiskSpace, kVRNUsedDiskSpace, kVRNUsedApplicationMemory,
                            kVRNAvailableMemory, kVRNUsedMemory}) {
        EXPECT_EQ(dict.count(key), 0u) << key;
    }
    EXPECT_EQ(at(dict, kVRNLocale), VRNGatheredValue(std::string("-")));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].rfind("Error obtaining system memory info: Domain = ", 0), 0u);
    EXPECT_EQ(lines[1].rfind("Error with task_info(): ", 0), 0u);
    EXPECT_EQ(lines[2].rfind("Error with fetching vm statistic: ", 0), 0u);
}

TEST(ShortestText, ReadsBackAsTheSameNumber) {
    EXPECT_EQ(VRNShortestText(0.75f), "0.75");
    EXPECT_EQ(VRNShortestText(-1.0f), "-1");
    EXPECT_EQ(VRNShortestText(0.1), "0.1");
    EXPECT_EQ(VRNShortestText(258019.61328125), "258019.61328125");
}

TEST(ReportArchive, ASavedReportReadsBackExactlyAndForeignClassesAreRefused) {
    VRNVornaReportData data{VRNVornaReportData::Empty{}};
    data.setGatheredDataDict(
        VRNGatheredDataDict{{kVRNIssueReportedTime, std::string("2024-03-05T14:07:09+01:00")},
                            {kVRNUsedDiskSpace, 6.5},
                            {kVRNAuthentication, int64_t{1}},
                            {kVRNCpuHistory, std::vector<std::shared_ptr<VRNBlackBoxObject>>{
                                                 std::make_shared<Record>("1.000", "t1")}}});
    data.setQuickFacts("facts");
    data.setScreenshotFile(
        std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"), VRNData{9, 8}));
    data.setAttachedFiles(
        VRNVornaReportData::Files{std::make_shared<VRNVornaFile>(std::string("a.log"), VRNData{}),
                                  std::make_shared<VRNVornaFile>(std::nullopt, VRNData{7})});
    const auto bytes = VRNReportArchiving::archive(std::make_shared<VRNVornaReportData>(data));

    VRNErrorPtr error;
    auto back = VRNReportArchiving::unarchive(bytes, &error);
    ASSERT_NE(back, nullptr) << error->localizedDescription;
    EXPECT_EQ(back->quickFacts(), "facts");
    EXPECT_EQ(*back->screenshotFile()->data(), (VRNData{9, 8}));
    ASSERT_EQ(back->attachedFiles()->size(), 2u);
    EXPECT_EQ((*back->attachedFiles())[0]->name(), "a.log");
    EXPECT_TRUE((*back->attachedFiles())[0]->data()->empty());
    EXPECT_FALSE((*back->attachedFiles())[1]->name().has_value());
    const auto& dict = *back->gatheredDataDict();
    EXPECT_EQ(dict.at(kVRNIssueReportedTime),
              VRNGatheredValue(std::string("2024-03-05T14:07:09+01:00")));
    EXPECT_EQ(dict.at(kVRNUsedDiskSpace), VRNGatheredValue(6.5));
    EXPECT_EQ(dict.at(kVRNAuthentication), VRNGatheredValue(int64_t{1}));
    const auto& cpu =
        std::get<std::vector<std::shared_ptr<VRNBlackBoxObject>>>(dict.at(kVRNCpuHistory));
    ASSERT_EQ(cpu.size(), 1u);
    EXPECT_EQ(std::dynamic_pointer_cast<Record>(cpu[0])->value(), "1.000");

    struct Foreign : VRNCoding {
        std::string archiveClassName() const override { return "NSURL"; }
        void encodeWithCoder(VRNCoder&) const override {}
    };
    VRNArchiveClassRegistry::registerClass(
        "NSURL", "NSObject", [](const VRNDecoder&) { return std::make_shared<Foreign>(); });
    const auto foreign = VRNKeyedArchiver::archivedDataWithRootObject(
        VRNArchiveValue::Array{VRNArchiveValue(VRNCodingPtr(std::make_shared<Foreign>()))});
    EXPECT_EQ(VRNReportArchiving::unarchive(foreign, &error), nullptr);
    EXPECT_NE(error->localizedDescription.find("'NSURL'"), std::string::npos);
}

TEST(VornaFile, InitialisersReadFilesOrAnswerNothing) {
    test::TempDir dir;
    std::ofstream(dir / "log.txt") << "line";
    { std::ofstream empty(dir / "empty.bin"); }
    auto log = VRNVornaFile::initWithFileURL(dir / "log.txt");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->name(), "log.txt");
    EXPECT_EQ(*log->data(), (VRNVornaFile::Bytes{'l', 'i', 'n', 'e'}));
    EXPECT_EQ(VRNVornaFile::initWithName(std::string("renamed.txt"), dir / "log.txt")->name(),
              "renamed.txt");
    auto empty = VRNVornaFile::initWithFileURL(dir / "empty.bin");
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->data()->empty());
    EXPECT_EQ(VRNVornaFile::initWithFileURL(dir / "missing.txt"), nullptr);
    EXPECT_EQ(VRNVornaFile::initWithFileURL(dir.path()), nullptr) << "a folder is no file";
}

}  // namespace
}  // namespace vorna
