#include "platform/linux/VRNSysfsBatteryProbe.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

#include "platform/linux/VRNKernelFiles.h"

namespace vorna {

VRNSysfsBatteryProbe::VRNSysfsBatteryProbe(std::filesystem::path powerSupplyDirectory)
    : directory_(std::move(powerSupplyDirectory)) {}

VRNBatteryReading VRNSysfsBatteryProbe::batteryReading() {
    std::error_code ec;
    std::vector<std::filesystem::path> supplies;
    for (const auto& entry : std::filesystem::directory_iterator(directory_, ec)) {
        supplies.push_back(entry.path());
    }
    // The kernel lists supplies in no set order; BAT0 before BAT1.
    std::sort(supplies.begin(), supplies.end());
    for (const auto& supply : supplies) {
        if (VRNReadSmallFile(supply / "type") != "Battery") {
            continue;
        }
        // A mouse's or a headset's battery says nothing about the device.
        if (VRNReadSmallFile(supply / "scope") == "Device") {
            continue;
        }
        VRNBatteryReading reading;
        const auto status = VRNReadSmallFile(supply / "status");
        if (status == "Charging") {
            reading.state = VRNBatteryState::Charging;
        } else if (status == "Discharging") {
            reading.state = VRNBatteryState::Unplugged;
        } else if (status == "Full" || status == "Not charging") {
            // "Not charging": on external power with the battery held where the charger
            // leaves it, which is what "full" tells a reader.
            reading.state = VRNBatteryState::Full;
        }
        if (auto capacity = VRNReadSmallFile(supply / "capacity")) {
            if (auto percent = VRNParseNumber<int>(*capacity)) {
                reading.level = std::clamp(static_cast<float>(*percent) / 100.0f, 0.0f, 1.0f);
                return reading;
            }
        }
        for (const char* kind : {"energy", "charge"}) {
            auto now = VRNReadSmallFile(supply / (std::string(kind) + "_now"));
            auto full = VRNReadSmallFile(supply / (std::string(kind) + "_full"));
            auto nowValue = now ? VRNParseNumber<uint64_t>(*now) : std::nullopt;
            auto fullValue = full ? VRNParseNumber<uint64_t>(*full) : std::nullopt;
            if (nowValue && fullValue && *fullValue > 0) {
                reading.level = std::clamp(
                    static_cast<float>(static_cast<double>(*nowValue) / *fullValue), 0.0f, 1.0f);
                break;
            }
        }
        return reading;
    }
    return {};
}

}  // namespace vorna
