#include <gtest/gtest.h>

#include "platform/linux/KernelFiles.h"
#include "platform/linux/VRNSysfsBatteryProbe.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

using test::writeKernelFile;

TEST(SysfsBatteryProbe, TheFirstSystemBattery) {
    test::TempDir sys;
    writeKernelFile(sys / "AC" / "type", "Mains\n");
    writeKernelFile(sys / "AC" / "online", "1\n");
    auto none = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(none.state, VRNBatteryState::Unknown);
    EXPECT_EQ(none.level, -1.0f);

    writeKernelFile(sys / "hid-mouse" / "type", "Battery\n");
    writeKernelFile(sys / "hid-mouse" / "scope", "Device\n");
    writeKernelFile(sys / "hid-mouse" / "status", "Discharging\n");
    writeKernelFile(sys / "hid-mouse" / "capacity", "20\n");
    writeKernelFile(sys / "BAT0" / "type", "Battery\n");
    writeKernelFile(sys / "BAT0" / "status", "Charging\n");
    writeKernelFile(sys / "BAT0" / "capacity", "50\n");
    auto reading = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(reading.state, VRNBatteryState::Charging);
    EXPECT_FLOAT_EQ(reading.level, 0.5f);

    std::filesystem::remove(sys / "BAT0" / "capacity");
    writeKernelFile(sys / "BAT0" / "status", "Not charging\n");
    writeKernelFile(sys / "BAT0" / "energy_now", "40000000\n");
    writeKernelFile(sys / "BAT0" / "energy_full", "50000000\n");
    reading = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(reading.state, VRNBatteryState::Full);
    EXPECT_FLOAT_EQ(reading.level, 0.8f);
    writeKernelFile(sys / "BAT0" / "status", "Discharging\n");
    EXPECT_EQ(VRNSysfsBatteryProbe(sys.path()).batteryReading().state, VRNBatteryState::Unplugged);
}

}  // namespace
}  // namespace vorna
