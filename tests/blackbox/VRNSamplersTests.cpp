#include <gtest/gtest.h>

#include "blackbox/BlackBoxFakes.h"
#include "blackbox/VRNSamplers.h"

namespace vorna {
namespace {

class Samplers : public testing::Test {
protected:
    test::FakeDevice fake;
    VRNSamplerDevice& device = *fake.device;
};

TEST_F(Samplers, CpuSumsTheSharesOfTheThreadsThatWorked) {
    fake.threads = std::vector<VRNThreadCPUUsage>{{0, true}, {0, true}};
    EXPECT_EQ(cpuUsage(device)->value(), "0.000");
    // An idle thread adds nothing whatever its usage says.
    fake.threads = std::vector<VRNThreadCPUUsage>{{500, true}, {250, false}, {1, false}};
    EXPECT_EQ(cpuUsage(device)->value(), "25.100");
    fake.threads = std::vector<VRNThreadCPUUsage>(4, {1000, false});
    EXPECT_EQ(cpuUsage(device)->value(), "400.000");
    fake.threads.reset();
    const auto failed = cpuUsage(device);
    EXPECT_EQ(failed->value(), "-1.000");
    EXPECT_TRUE(test::isKitTimestamp(failed->timestamp()));
}

TEST_F(Samplers, MemoryAndStorageInMegabytes) {
    fake.resident = 157286400;
    EXPECT_EQ(memoryUsage(device)->value(), "150.000");
    fake.resident.reset();
    EXPECT_EQ(memoryUsage(device)->value(), "-1.000");

    fake.fileSystem = VRNFileSystemAttributes{10 * 1048576, 4 * 1048576 + 524288};
    const auto storage = storageUsage(device);
    EXPECT_EQ(storage->value(), "5.500");
    EXPECT_EQ(fake.askedFor, "/data/app/Documents");
    EXPECT_TRUE(test::isKitTimestamp(storage->timestamp()));
    fake.fileSystem.reset();
    EXPECT_EQ(storageUsage(device)->value(), "-1.000");
}

TEST_F(Samplers, BatteryWordsAndPercent) {
    fake.reading = {VRNBatteryState::Charging, 0.5f};
    auto sample = battery(device);
    EXPECT_EQ(sample->status(), "charging");
    EXPECT_EQ(sample->level(), "50.000");
    EXPECT_TRUE(test::isKitTimestamp(sample->timestamp()));
    fake.reading = {};
    sample = battery(device);
    EXPECT_EQ(sample->status(), "unknown");
    EXPECT_EQ(sample->level(), "-1.000");
}

TEST_F(Samplers, NetworkKindAndName) {
    fake.ssid = "CafeNet";
    fake.carrier = "Carrier One";
    fake.technology = VRNRadioAccessTechnologyLTE;
    fake.connected = false;
    auto sample = network(device);
    EXPECT_EQ(sample->type(), "Offline");
    EXPECT_EQ(sample->name(), "");
    EXPECT_TRUE(test::isKitTimestamp(sample->timestamp()));

    fake.connected = true;
    sample = network(device);
    EXPECT_EQ(sample->type(), "wifi");
    EXPECT_EQ(sample->name(), "CafeNet");

    fake.ssid.reset();
    sample = network(device);
    EXPECT_EQ(sample->type(), "Cellular LTE");
    EXPECT_EQ(sample->name(), "Carrier One");

    fake.technology = "CTRadioAccessTechnologyNRNSA";
    sample = network(device);
    EXPECT_EQ(sample->type(), std::nullopt);
    EXPECT_EQ(sample->name(), "Carrier One");
}

TEST_F(Samplers, OrientationWords) {
    const std::vector<std::pair<int, std::string>> cases{{0, "unknown"},   {1, "portrait"},
                                                         {2, "portrait"},  {3, "landscape"},
                                                         {4, "landscape"}, {7, "unknown"}};
    for (const auto& [raw, word] : cases) {
        fake.interfaceOrientation = static_cast<VRNInterfaceOrientation>(raw);
        const auto sample = orientation(device);
        EXPECT_EQ(sample->value(), word) << raw;
        EXPECT_TRUE(test::isKitTimestamp(sample->timestamp()));
    }
}

}  // namespace
}  // namespace vorna
