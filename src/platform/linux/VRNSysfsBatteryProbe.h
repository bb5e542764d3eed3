#pragma once

#include <filesystem>

#include "platform/VRNDeviceProbes.h"

namespace vorna {

// The first battery of the system under <powerSupplyDirectory> (type "Battery", not a
// peripheral's), its "status" and "capacity" (or energy/charge now ÷ full).
class VRNSysfsBatteryProbe : public VRNBatteryProbe {
public:
    explicit VRNSysfsBatteryProbe(
        std::filesystem::path powerSupplyDirectory = "/sys/class/power_supply");
    VRNBatteryReading batteryReading() override;

private:
    const std::filesystem::path directory_;
};

}  // namespace vorna
