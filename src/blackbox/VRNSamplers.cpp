#include "blackbox/VRNSamplers.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string_view>

#include "connectivity/VRNConnection.h"
#include "platform/storage/VRNBundle.h"
#include "state/VRNConstants.h"
#include "state/VRNDateProvider.h"

namespace vorna {

std::shared_ptr<VRNSamplerDevice> userDevice;

const std::array<const char*, 4> batteryStatusRaw{"unknown", "unplugged", "charging", "full"};
const std::array<const char*, 5> orientationRaw{"unknown", "portrait", "portrait", "landscape",
                                                "landscape"};
const std::map<std::string, std::string> technologyDict{
    {VRNRadioAccessTechnologyGPRS, "Cellular GPRS"},
    {VRNRadioAccessTechnologyEdge, "Cellular Edge"},
    {VRNRadioAccessTechnologyWCDMA, "Cellular WCDMA"},
    {VRNRadioAccessTechnologyHSDPA, "Cellular HSDPA"},
    {VRNRadioAccessTechnologyHSUPA, "Cellular HSUPA"},
    {VRNRadioAccessTechnologyCDMA1x, "Cellular CDMA1x"},
    {VRNRadioAccessTechnologyCDMAEVDORev0, "Cellular CDMAEVDORev0"},
    {VRNRadioAccessTechnologyCDMAEVDORevA, "Cellular CDMAEVDORevA"},
    {VRNRadioAccessTechnologyCDMAEVDORevB, "Cellular CDMAEVDORevB"},
    {VRNRadioAccessTechnologyeHRPD, "Cellular HRPD"},
    {VRNRadioAccessTechnologyLTE, "Cellular LTE"},
};

namespace {

static_assert(std::string_view(DECIMAL_FORMAT) == "%.3f");

std::string decimalText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

std::string now() {
    return VRNDateProvider::sharedInstance()->timestamp();
}

VRNSamplerDevice& defaultDevice() {
    initializeSamplerConstants();
    return *userDevice;
}

}  // namespace

std::shared_ptr<VRNSamplerDevice> VRNSamplerDevice::makeDefault() {
    auto device = std::make_shared<VRNSamplerDevice>();
    device->probes = VRNDeviceProbes::current();
    device->interfaceOrientation = [] {
        return VRNDeviceProvider::current()->interfaceOrientation();
    };
    device->hasConnectivity = [] { return VRNConnection::sharedInstance()->hasConnectivity(); };
    device->documentsDirectory = [] { return VRNSandbox::documentsDirectory(); };
    return device;
}

void initializeSamplerConstants() {
    static std::once_flag once;
    std::call_once(once, [] { userDevice = VRNSamplerDevice::makeDefault(); });
}

RecordPtr cpuUsage(VRNSamplerDevice& device) {
    float total = -1.0f;
    auto threads =
        device.probes && device.probes->cpu ? device.probes->cpu->sampleThreads() : std::nullopt;
    if (threads) {
        total = 0;
        for (const auto& thread : *threads) {
            if (!thread.idle) {
                // The kernel's usage scale in single precision, the sum in double, kept in a
                // float: the same arithmetic on every platform gives the same texts.
                const float share =
                    static_cast<float>(thread.cpuUsage) / static_cast<float>(VRNThreadUsageScale);
                total = static_cast<float>(static_cast<double>(total) +
                                           static_cast<double>(share) * 100.0);
            }
        }
    }
    auto value = decimalText(total);
    return std::make_shared<Record>(std::move(value), now());
}

RecordPtr memoryUsage(VRNSamplerDevice& device) {
    double megabytes = -1.0;
    auto resident = device.probes && device.probes->memory ? device.probes->memory->residentSize()
                                                           : std::nullopt;
    if (resident) {
        megabytes = static_cast<double>(*resident) / static_cast<double>(NUMBER_OF_BYTES_IN_MB);
    }
    auto value = decimalText(megabytes);
    return std::make_shared<Record>(std::move(value), now());
}

RecordPtr storageUsage(VRNSamplerDevice& device) {
    double megabytes = -1.0;
    if (device.probes && device.probes->fileSystem && device.documentsDirectory) {
        // The used space of the whole volume, not of the host's own files.
        if (auto attributes = device.probes->fileSystem->attributesOfFileSystemForPath(
                device.documentsDirectory())) {
            megabytes = (static_cast<double>(attributes->totalSize) -
                         static_cast<double>(attributes->freeSize)) /
                        static_cast<double>(NUMBER_OF_BYTES_IN_MB);
        }
    }
    auto value = decimalText(megabytes);
    return std::make_shared<Record>(std::move(value), now());
}

BatteryPtr battery(VRNSamplerDevice& device) {
    VRNBatteryReading reading;
    if (device.probes && device.probes->battery) {
        reading = device.probes->battery->batteryReading();
    }
    const auto index = static_cast<size_t>(reading.state);
    const char* status =
        index < batteryStatusRaw.size() ? batteryStatusRaw[index] : batteryStatusRaw[0];
    // An unknown level (-1) stays -1 rather than becoming -100.
    const float level = std::max(reading.level * 100.0f, -1.0f);
    auto levelText = decimalText(level);
    return std::make_shared<Battery>(status, std::move(levelText), now());
}

NetworkPtr network(VRNSamplerDevice& device) {
    std::optional<std::string> name = "";
    std::optional<std::string> type = "wifi";
    if (!device.hasConnectivity || !device.hasConnectivity()) {
        type = "Offline";
    } else {
        auto* probes = device.probes.get();
        auto ssid = probes && probes->wifi ? probes->wifi->currentSSID() : std::nullopt;
        if (ssid) {
            name = std::move(ssid);
        } else {
            auto* telephony = probes ? probes->telephony.get() : nullptr;
            name = telephony ? telephony->carrierName() : std::nullopt;
            type.reset();
            if (auto technology =
                    telephony ? telephony->currentRadioAccessTechnology() : std::nullopt) {
                auto it = technologyDict.find(*technology);
                if (it != technologyDict.end()) {
                    type = it->second;
                }
            }
        }
    }
    return std::make_shared<Network>(std::move(type), std::move(name), now());
}

RecordPtr orientation(VRNSamplerDevice& device) {
    const int raw =
        device.interfaceOrientation ? static_cast<int>(device.interfaceOrientation()) : 0;
    const char* word = raw >= 0 && static_cast<size_t>(raw) < orientationRaw.size()
                           ? orientationRaw[static_cast<size_t>(raw)]
                           : orientationRaw[0];
    return std::make_shared<Record>(word, now());
}

RecordPtr cpuUsage() {
    return cpuUsage(defaultDevice());
}
RecordPtr memoryUsage() {
    return memoryUsage(defaultDevice());
}
RecordPtr storageUsage() {
    return storageUsage(defaultDevice());
}
BatteryPtr battery() {
    return battery(defaultDevice());
}
NetworkPtr network() {
    return network(defaultDevice());
}
RecordPtr orientation() {
    return orientation(defaultDevice());
}

}  // namespace vorna
