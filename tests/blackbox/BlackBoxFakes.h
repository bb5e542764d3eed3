#pragma once

#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "blackbox/VRNSamplers.h"
#include "platform/VRNDeviceProbes.h"
#include "platform/storage/VRNKeyValueStore.h"
#include "state/VRNAppRepository.h"
#include "support/TempDir.h"

namespace vorna::test {

// A repository over a defaults file of its own; open() again is the next launch of the host.
struct TempRepository {
    TempDir dir;
    std::shared_ptr<VRNAppRepository> repository = open();

    std::shared_ptr<VRNAppRepository> open() const {
        return std::make_shared<VRNAppRepository>(
            std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    }
};

// Every source of the samplers at once, each answering what the test set. With
// `countingMemory` the resident size grows by one megabyte per sample, so histories show order.
struct FakeDevice : VRNThreadCPUProbe,
                    VRNMemoryProbe,
                    VRNFileSystemProbe,
                    VRNBatteryProbe,
                    VRNWiFiProbe,
                    VRNTelephonyProvider {
    std::optional<std::vector<VRNThreadCPUUsage>> threads = std::vector<VRNThreadCPUUsage>{};
    std::optional<uint64_t> resident = 0;
    bool countingMemory = false;
    std::optional<VRNFileSystemAttributes> fileSystem;
    std::filesystem::path askedFor;
    VRNBatteryReading reading;
    std::optional<std::string> ssid, carrier, technology;
    VRNInterfaceOrientation interfaceOrientation = VRNInterfaceOrientation::Unknown;
    bool connected = true;

    std::optional<std::vector<VRNThreadCPUUsage>> sampleThreads() override { return threads; }
    std::optional<uint64_t> residentSize() override {
        if (countingMemory && resident) {
            *resident += 1048576;
        }
        return resident;
    }
    std::optional<uint64_t> physicalMemory() override { return std::nullopt; }
    std::optional<VRNHostMemoryStatistics> hostStatistics() override { return std::nullopt; }
    std::optional<VRNFileSystemAttributes> attributesOfFileSystemForPath(
        const std::filesystem::path& path) override {
        askedFor = path;
        return fileSystem;
    }
    VRNBatteryReading batteryReading() override { return reading; }
    std::optional<std::string> currentSSID() override { return ssid; }
    std::optional<std::string> carrierName() override { return carrier; }
    std::optional<std::string> currentRadioAccessTechnology() override { return technology; }

    // The device the samplers read; it refers to this fake, which must outlive it.
    std::shared_ptr<VRNSamplerDevice> device = make();

private:
    std::shared_ptr<VRNSamplerDevice> make() {
        auto d = std::make_shared<VRNSamplerDevice>();
        const auto self = std::shared_ptr<FakeDevice>(std::shared_ptr<void>(), this);
        d->probes =
            std::make_shared<VRNDeviceProbes>(VRNDeviceProbes{self, self, self, self, self, self});
        d->interfaceOrientation = [this] { return interfaceOrientation; };
        d->hasConnectivity = [this] { return connected; };
        d->documentsDirectory = [] { return std::filesystem::path("/data/app/Documents"); };
        return d;
    }
};

inline bool isKitTimestamp(const std::optional<std::string>& text) {
    static const std::regex format(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d))");
    return text && std::regex_match(*text, format);
}

}  // namespace vorna::test
